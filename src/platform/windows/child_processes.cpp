#include "platform/child_processes.h"

#include "platform/windows/windows_api.h"
// tlhelp32.h needs the headers above.
#include <tlhelp32.h>

namespace platform {

namespace {

// The system's own limit. Not everything that the launcher runs under keeps it: a longer command
// would then reach the platform cut.
constexpr std::size_t longestCommandLine = 32766;

bool fillEntry(bool isThere, const PROCESSENTRY32W& data, ProcessEntry& entry) {
    if (isThere) {
        entry.executableName = data.szExeFile;
        entry.processId = data.th32ProcessID;
    }
    return isThere;
}

PROCESSENTRY32W emptyEntry() {
    PROCESSENTRY32W data = {};
    data.dwSize = sizeof(data);
    static_assert(sizeof(data) == 568);
    return data;
}

}  // namespace

bool createProcess(const std::wstring& commandLine, const StartInformation& start, ChildProcess& child) {
    if (commandLine.size() > longestCommandLine) {
        SetLastError(ERROR_FILENAME_EXCED_RANGE);
        return false;
    }
    STARTUPINFOW information = {};
    static_assert(sizeof(information) == 104);
    information.cb = sizeof(information);
    information.dwFlags = start.flags;
    std::wstring title = start.title.value_or(L"");
    if (start.title) {
        information.lpTitle = title.data();
    }
    std::wstring writableCommand = commandLine;  // the system may write to it
    PROCESS_INFORMATION process = {};
    if (CreateProcessW(nullptr, writableCommand.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr,
                       &information, &process) == 0) {
        return false;
    }
    child.process = seamHandle(process.hProcess);
    child.thread = seamHandle(process.hThread);
    child.processId = process.dwProcessId;
    return true;
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
    return seamHandle(OpenProcess(PROCESS_QUERY_INFORMATION, TRUE, processId));
}

Handle processSnapshot() {
    return seamHandle(CreateToolhelp32Snapshot(TH32CS_SNAPPROCESS, 0));
}

bool firstProcess(Handle snapshot, ProcessEntry& entry) {
    PROCESSENTRY32W data = emptyEntry();
    return fillEntry(Process32FirstW(systemHandle(snapshot), &data) != 0, data, entry);
}

bool nextProcess(Handle snapshot, ProcessEntry& entry) {
    PROCESSENTRY32W data = emptyEntry();
    return fillEntry(Process32NextW(systemHandle(snapshot), &data) != 0, data, entry);
}

}  // namespace platform
