#pragma once

#include <string>

#include "platform/child_processes.h"

namespace zellauncher {

// Starts the command as a child, publishes its number and waits until it has published its endpoint
// (recordPlatformProcess). The lock stays with this launcher. A command that cannot be started is
// reported in the log with the system's reason and the likely cause; nothing is recorded, the lock is
// given back, and the process ends with -1.
platform::ChildProcess startChild(const std::wstring& command, const platform::StartInformation& start);

// Waits for the child's end, asking ten times a second.
void waitForChild(const platform::ChildProcess& child);

}  // namespace zellauncher
