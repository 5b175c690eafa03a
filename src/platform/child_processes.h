#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "platform/handles.h"

// Starting and watching other processes, and the list of all running processes.
namespace platform {

inline constexpr std::uint32_t startTitleIsAppId = 0x1000;
inline constexpr std::uint32_t startPreventPinning = 0x2000;
inline constexpr std::uint32_t exitCodeStillActive = 259;

// The fields of the child's start information that are set; all others are zero.
struct StartInformation {
    std::uint32_t flags = 0;  // startTitleIsAppId, startPreventPinning
    std::optional<std::wstring> title;
};

struct ChildProcess {
    Handle process = Handle::none;
    Handle thread = Handle::none;
    std::uint32_t processId = 0;
};

// Starts a program from a command line of at most 32,766 characters (CreateProcessW without an
// application name, security attributes or creation flags). The child gets this process's
// environment and current directory and inherits no handles.
std::optional<ChildProcess> createProcess(const std::wstring& commandLine, const StartInformation& start);

// True once the process has ended (WaitForSingleObject with a time-out of 0). Never waits.
bool hasProcessEnded(Handle process);

// The exit code, or exitCodeStillActive while the process runs (GetExitCodeProcess).
std::optional<std::uint32_t> processExitCode(Handle process);

// Waits until the process has started up and waits for user input, for at most `milliseconds`
// (WaitForInputIdle). Returns at once for a program without windows.
void waitForInputIdle(Handle process, std::uint32_t milliseconds);

// Opens any process to query its exit code (OpenProcess with PROCESS_QUERY_INFORMATION, inheritable).
Handle openProcess(std::uint32_t processId);

struct ProcessEntry {
    std::wstring executableName;  // file name without its directory
    std::uint32_t processId = 0;
};

// A list of all processes at this moment (CreateToolhelp32Snapshot).
Handle processSnapshot();

// The first and each further entry of a snapshot; nothing at its end or on failure.
std::optional<ProcessEntry> firstProcess(Handle snapshot);
std::optional<ProcessEntry> nextProcess(Handle snapshot);

}  // namespace platform
