// bench_platform_time <workspace> <launcher>: starts the launcher with this workspace, waits until the
// platform has published its pipe file, and ends the platform. Prints the milliseconds from the launcher's
// creation until the platform's process was created, until the platform's process created the JVM's, and
// until the pipe file was there. Each process is asked for the time of its creation, so it does not matter
// when that happens; none of them ends before the platform does.
#include <windows.h>
// tlhelp32.h needs the header above.
#include <tlhelp32.h>

#include <cstdio>
#include <string>

#include "child_process.h"

namespace {

constexpr DWORD patienceMilliseconds = 120'000;
constexpr DWORD pollMilliseconds = 2;

double milliseconds(const FILETIME& time) {
    ULARGE_INTEGER value;
    value.LowPart = time.dwLowDateTime;
    value.HighPart = time.dwHighDateTime;
    return static_cast<double>(value.QuadPart) / 1e4;
}

double now() {
    FILETIME time;
    GetSystemTimeAsFileTime(&time);
    return milliseconds(time);
}

// A process that someone else started. The open handle keeps its process id from being given to another one.
class Process {
public:
    explicit Process(DWORD processId)
        : id(processId),
          handle(OpenProcess(PROCESS_QUERY_LIMITED_INFORMATION | PROCESS_TERMINATE | SYNCHRONIZE, FALSE,
                             processId)) {}
    ~Process() { CloseHandle(handle); }
    Process(const Process&) = delete;
    Process& operator=(const Process&) = delete;

    bool isRunning() const { return handle != nullptr && WaitForSingleObject(handle, 0) == WAIT_TIMEOUT; }

    double creation() const {
        FILETIME created = {};
        FILETIME ended;
        FILETIME kernel;
        FILETIME user;
        GetProcessTimes(handle, &created, &ended, &kernel, &user);
        return milliseconds(created);
    }

    void terminate() const { TerminateProcess(handle, 1); }

    void awaitEnd() const {
        if (WaitForSingleObject(handle, patienceMilliseconds) != WAIT_OBJECT_0) {
            terminate();
        }
    }

    const DWORD id;

private:
    HANDLE handle;
};

bool awaitFile(const std::wstring& file) {
    const ULONGLONG begin = GetTickCount64();
    while (GetFileAttributesW(file.c_str()) == INVALID_FILE_ATTRIBUTES) {
        if (GetTickCount64() - begin > patienceMilliseconds) {
            return false;
        }
        Sleep(pollMilliseconds);
    }
    return true;
}

// The process id that the launcher has recorded; 0 without one.
DWORD recordedProcess(const std::wstring& record) {
    DWORD id = 0;
    if (std::FILE* file = _wfopen(record.c_str(), L"r")) {
        if (std::fscanf(file, "%lu", &id) != 1) {
            id = 0;
        }
        std::fclose(file);
    }
    return id;
}

// The running process that this one started; 0 without one. A process whose parent has ended can name the
// process id of a later one as its parent, but is older than that.
DWORD childOf(const Process& parent) {
    if (!parent.isRunning()) {
        return 0;
    }
    HANDLE snapshot = CreateToolhelp32Snapshot(TH32CS_SNAPPROCESS, 0);
    PROCESSENTRY32W entry = {};
    entry.dwSize = sizeof entry;
    DWORD child = 0;
    for (BOOL isEntry = Process32FirstW(snapshot, &entry); isEntry != 0 && child == 0;
         isEntry = Process32NextW(snapshot, &entry)) {
        const Process candidate(entry.th32ProcessID);
        if (entry.th32ParentProcessID == parent.id && candidate.isRunning() &&
            candidate.creation() >= parent.creation()) {
            child = entry.th32ProcessID;
        }
    }
    CloseHandle(snapshot);
    return child;
}

bool runToEnd(const std::wstring& command) {
    PROCESS_INFORMATION process = {};
    if (!bench::startProcess(command, 0, process)) {
        return false;
    }
    Process(process.dwProcessId).awaitEnd();
    return true;
}

}  // namespace

int wmain(int count, wchar_t* arguments[]) {
    if (count != 3) {
        return 1;
    }
    const std::wstring workspace = arguments[1];
    const std::wstring pipeFile = workspace + L"\\.pipe";
    const std::wstring record = workspace + L"\\.zel.main";
    const std::wstring command = L"\"" + std::wstring(arguments[2]) + L"\" -data \"" + workspace + L"\"";
    DeleteFileW(pipeFile.c_str());
    DeleteFileW(record.c_str());
    PROCESS_INFORMATION process = {};
    if (!bench::startProcess(command, 0, process)) {
        return 1;
    }
    const Process launcher(process.dwProcessId);
    const bool isUp = awaitFile(pipeFile);
    const double up = now();
    const Process platform(recordedProcess(record));
    const Process jvm(childOf(platform));
    if (!isUp || !platform.isRunning() || !jvm.isRunning()) {
        for (const Process* each : {&launcher, &platform, &jvm}) {
            each->terminate();
        }
        return 1;
    }
    const double begin = launcher.creation();
    std::printf("%.1f %.1f %.1f\n", platform.creation() - begin, jvm.creation() - begin, up - begin);
    const bool isAsked = runToEnd(command + L" -exit 0");
    platform.awaitEnd();
    launcher.awaitEnd();
    return isAsked ? 0 : 1;
}
