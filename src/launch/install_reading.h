#pragma once

#include "launch/launch_context.h"

// What both sequences do before they know the workspace. There is no log file yet: lines are held
// back, and a fatal one opens a log in TEMP.
namespace zellauncher {

// From zelHome and rawArguments: zellauncher.properties, the effective arguments, the debug flag
// (which the expanded arguments settle anew), the kind, the identity and the base location. Fatal:
// ZLNCH0096E, ZLNCH0050E and those of the subsystems called.
void readInstall(LaunchContext& context);

// The checks of the raw command line that follow.
void screenArguments(const Arguments& rawArguments);

// `<dataDirectory>\logs` with backslashes.
std::wstring logsDirectoryOf(const LaunchContext& context);

// Opens the log in the directory, and deletes the one that an earlier failed start left in TEMP.
// When it cannot be opened, the log goes to TEMP and the process ends with -1.
void openRunLog(const std::wstring& logsDirectory);

}  // namespace zellauncher
