#pragma once

#include <string>

// Running the assembled command: the point at which a main process leaves the preparation.
namespace zellauncher {

// The last fork of a start: a main process starts the platform, a daemon hands the command to the
// platform that runs.
void handOffOrExecute(const std::wstring& command);

// Starts the platform, publishes its number, gives the lock back, and then returns at once, or
// waits for the platform's end (waitForPlatform), or supervises it (a lockdown install, a user who
// is no administrator). A command that cannot be started is reported in the log with its likely
// cause; the lock is given back and the process ends with -1.
void executeCommand(const std::wstring& command);

// executeCommand on launchCommand, for the supervision that starts the platform anew.
void rerunCommand();

}  // namespace zellauncher
