#pragma once

#include "explain/check/finding.h"
#include "explain/check/install_reading.h"

namespace explain {

// Values: kind, identity, lists, tokens, quotes, workspace.
void checkValues(const InstallReading& reading, const StartOptions& options, Findings& findings);

// Tokens ${env.NAME} without a default whose variable the machine of the options lacks. Each is a finding,
// and `options` gets a value for it, so that it does not hide other mistakes.
void checkVariables(StartOptions& options, Findings& findings);

}  // namespace explain
