#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "platform/handles.h"

// Starting and watching other processes, and the list of all that run.
namespace platform {

inline constexpr std::uint32_t startTitleIsAppId = 0x1000;
inline constexpr std::uint32_t startPreventPinning = 0x2000;
inline constexpr std::uint32_t exitCodeStillActive = 259;

// What the child's start information holds beside its size; all else in it is zero.
struct StartInformation {
    std::uint32_t flags = 0;
    std::optional<std::wstring> title;
};

struct ChildProcess {
    Handle process = Handle::none;
    Handle thread = Handle::none;
    std::uint32_t processId = 0;
};

// Starts a program from a command line (CreateProcessW: no application name, no security
// attributes, handles not inherited, no creation flags, this process's environment and current
// directory). False on failure, with the reason in lastError() and `child` untouched. A command
// line has at most 32,766 characters.
bool createProcess(const std::wstring& commandLine, const StartInformation& start, ChildProcess& child);

// True when the process has ended (WaitForSingleObject with a time-out of 0). Never waits.
bool hasProcessEnded(Handle process);

// The exit code, or exitCodeStillActive while the process runs; nothing when the handle is not that
// of a process.
std::optional<std::uint32_t> processExitCode(Handle process);

// Waits until the process has started up and waits for its user, at most so many milliseconds
// (WaitForInputIdle). A program without windows is not waited for.
void waitForInputIdle(Handle process, std::uint32_t milliseconds);

// Opens a process that somebody else started, to ask for its exit code (OpenProcess with
// PROCESS_QUERY_INFORMATION, the handle inheritable); `none` on failure.
Handle openProcess(std::uint32_t processId);

struct ProcessEntry {
    std::wstring executableName;  // file name without its directory
    std::uint32_t processId = 0;
};

// A list of all processes at this moment (CreateToolhelp32Snapshot); `none` on failure.
Handle processSnapshot();

// The first and each further entry of a list; false at its end or on failure.
bool firstProcess(Handle snapshot, ProcessEntry& entry);
bool nextProcess(Handle snapshot, ProcessEntry& entry);

}  // namespace platform
