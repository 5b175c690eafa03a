#pragma once

#include <string>

// Running the assembled command.
namespace zellauncher {

// A main process starts the platform; a daemon hands the command to the running platform.
void handOffOrExecute(const std::wstring& command);

// Starts the platform, records its process id and releases the lock. Then returns; or waits for the end
// of the platform (waitForPlatform); or supervises it (lockdown install, user is no administrator). A
// command that cannot be started ends the process (startChild).
void executeCommand(const std::wstring& command);

}  // namespace zellauncher
