#include "platform/child_processes.h"

#include "platform/windows/windows_api.h"
// tlhelp32.h needs the headers above.
#include <tlhelp32.h>

namespace platform {

namespace {

// The system's own limit, checked here because Wine does not check it and would truncate the command.
constexpr std::size_t longestCommandLine = 32766;

std::optional<ProcessEntry> asEntry(bool hasEntry, const PROCESSENTRY32W& data) {
    if (!hasEntry) {
        return std::nullopt;
    }
    return ProcessEntry{data.szExeFile, data.th32ProcessID};
}

PROCESSENTRY32W emptyEntry() {
    PROCESSENTRY32W data = {};
    data.dwSize = sizeof(data);
    static_assert(sizeof(data) == 568);
    return data;
}

}  // namespace

std::optional<ChildProcess> createProcess(const std::wstring& commandLine, const StartInformation& start) {
    if (commandLine.size() > longestCommandLine) {
        SetLastError(ERROR_FILENAME_EXCED_RANGE);
        return std::nullopt;
    }
    STARTUPINFOW information = {};
    static_assert(sizeof(information) == 104);
    information.cb = sizeof(information);
    information.dwFlags = start.flags;
    std::wstring title = start.title.value_or(L"");
    if (start.title) {
        information.lpTitle = title.data();
    }
    std::wstring writableCommand = commandLine;  // CreateProcessW may write to it
    PROCESS_INFORMATION process = {};
    if (CreateProcessW(nullptr, writableCommand.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr,
                       &information, &process) == 0) {
        return std::nullopt;
    }
    return ChildProcess{interfaceHandle(process.hProcess), interfaceHandle(process.hThread),
                        process.dwProcessId};
}

bool hasProcessEnded(Handle process) {
    return WaitForSingleObject(systemHandle(process), 0) == WAIT_OBJECT_0;
}

std::optional<std::uint32_t> processExitCode(Handle process) {
    DWORD code = 0;
    if (GetExitCodeProcess(systemHandle(process), &code) == 0) {
        return std::nullopt;
    }
    return code;
}

void waitForInputIdle(Handle process, std::uint32_t milliseconds) {
    WaitForInputIdle(systemHandle(process), milliseconds);
}

Handle openProcess(std::uint32_t processId) {
    return interfaceHandle(OpenProcess(PROCESS_QUERY_INFORMATION, TRUE, processId));
}

Handle processSnapshot() {
    return interfaceHandle(CreateToolhelp32Snapshot(TH32CS_SNAPPROCESS, 0));
}

std::optional<ProcessEntry> firstProcess(Handle snapshot) {
    PROCESSENTRY32W data = emptyEntry();
    return asEntry(Process32FirstW(systemHandle(snapshot), &data) != 0, data);
}

std::optional<ProcessEntry> nextProcess(Handle snapshot) {
    PROCESSENTRY32W data = emptyEntry();
    return asEntry(Process32NextW(systemHandle(snapshot), &data) != 0, data);
}

}  // namespace platform
