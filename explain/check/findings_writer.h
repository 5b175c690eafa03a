#pragma once

#include <string>

#include "explain/check/check.h"

namespace explain {

// What a build's log and a person read; ends with a summary.
std::string writeFindings(const CheckResult& result);

// {"findings": [...]}
std::string writeFindingsJson(const Findings& findings);

// One line: place, severity, text and rule.
std::string findingText(const Finding& finding);

// --rules
std::string writeRules();

const char* nameOf(Severity severity);

}  // namespace explain
