#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "explain/place.h"

namespace explain {

enum class Severity {
    note,
    warning,  // works, but probably not as meant
    error,    // a start fails, or loses or resets something
};

// A mistake in an install. UTF-8.
struct Finding {
    std::string rule;
    Severity severity = Severity::note;
    std::string file;      // relative to the install, with forward slashes
    std::size_t line = 0;  // first physical line of the logical one; 0 if none applies
    std::string text;
    std::string consequence;
    std::string remedy;
    // Beginnings of the messages with which a start ends because of it. Such a start is not reported again.
    std::vector<std::string> messages;
};

using Findings = std::vector<Finding>;

// Adds a finding at a place of the install.
Finding& addFinding(Findings& findings, const char* rule, Severity severity, const Place& place,
                    std::string text, std::string consequence, std::string remedy);

}  // namespace explain
