#pragma once

#include <string>

#include "platform/child_processes.h"

namespace zellauncher {

// Starts the command as a child, records its process id and waits for its pipe file
// (recordPlatformProcess). This launcher keeps the lock. If the child has ended by then and there is no
// pipe file, the log says so, on disk before the function returns. If the command cannot be started, logs
// the system's reason and the likely cause, records nothing, releases the lock and ends the process with
// -1.
platform::ChildProcess startChild(const std::wstring& command, const platform::StartInformation& start);

// Waits until the child has ended, polling every 100 milliseconds.
void waitForChild(const platform::ChildProcess& child);

}  // namespace zellauncher
