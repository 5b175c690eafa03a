#pragma once

#include "properties/arguments.h"

namespace zellauncher {

// Prepares a command for a platform that runs, without making or repairing anything on the way; where
// none runs it fails (ZLNCH0145E, fatal). Its log is opened in the workspace's log directory, which has
// to be there; without it the log goes to TEMP and the process ends with -1.
void commandOnlySequence(const Arguments& arguments);

}  // namespace zellauncher
