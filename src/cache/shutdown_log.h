#pragma once

#include <string>

// The history of platform starts, `<dataDirectory>\logs\shutdown.log`.
namespace zellauncher {

// Appends a line with the date to the log and trims it. Fatal: ZLNCH0098E, ZLNCH0118E.
void recordPlatformStart(const std::wstring& dataDirectory);

// The two steps of recordPlatformStart. The trim cuts the log to its last 101 lines once it has 200.
void appendStartLine(const std::wstring& logsDirectory);
void trimShutdownLog(const std::wstring& logsDirectory);

}  // namespace zellauncher
