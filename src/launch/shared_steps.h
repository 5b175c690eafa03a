#pragma once

#include <string>

#include "javalaunch/command_assembly.h"
#include "launch/launch_context.h"

// The steps that the two sequences share, in the order in which they take them.
namespace zellauncher {

// From zelHome and rawArguments: zellauncher.properties, the effective arguments, the debug flag
// (which the expanded arguments set anew), the kind, the identity and the base location. There is no
// log file yet: lines are held back, and a fatal one opens a log in TEMP. Fatal: ZLNCH0096E,
// ZLNCH0050E and those of the subsystems called.
void readInstall(LaunchContext& context);

// The checks of the raw command line.
void screenArguments(const Arguments& rawArguments);

// Set dataDirectory and configDirectory (configuration/workspace.h). Nothing is created.
void resolveWorkspace(LaunchContext& context);
void resolveConfiguration(LaunchContext& context);

// `<dataDirectory>\logs` with backslashes.
std::wstring logsDirectoryOf(const LaunchContext& context);

// Opens the log in the directory, and deletes the one that an earlier failed start left in TEMP. If it
// cannot be opened, the log goes to TEMP and the process ends with -1.
void openRunLog(const std::wstring& logsDirectory);

// Sets jvmRoot and loads its jvm.properties into zelInstallArray. Fatal: ZLNCH0079E, ZLNCH0096E.
void resolveJvm(LaunchContext& context);

// What the command of this start is made of.
CommandInput commandInput(LaunchContext& context);

}  // namespace zellauncher
