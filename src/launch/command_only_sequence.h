#pragma once

#include "properties/arguments.h"

namespace zellauncher {

// Assembles the command for a running platform without creating or repairing anything of the user. The log
// directory must exist already; otherwise the log goes to TEMP and the process ends with -1. Fatal
// ZLNCH0145E if no platform is running.
void commandOnlySequence(const Arguments& arguments);

}  // namespace zellauncher
