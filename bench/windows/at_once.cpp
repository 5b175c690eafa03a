// bench_at_once <count> together|in-turn <launcher> [argument...]: starts the launcher <count> times with the
// same arguments, all at once or each after the end of the one before. Prints the seconds until the last one
// has ended, the processor time of all of them in seconds, and how many failed.
#include <windows.h>

#include <cstdio>
#include <cwchar>
#include <string>
#include <vector>

#include "child_process.h"

namespace {

double seconds(const FILETIME& time) {
    ULARGE_INTEGER value;
    value.LowPart = time.dwLowDateTime;
    value.HighPart = time.dwHighDateTime;
    return static_cast<double>(value.QuadPart) / 1e7;
}

HANDLE start(const std::wstring& command) {
    PROCESS_INFORMATION process = {};
    if (!bench::startProcess(command, CREATE_NO_WINDOW, process)) {
        return nullptr;
    }
    CloseHandle(process.hThread);
    return process.hProcess;
}

struct Totals {
    double processor = 0;
    int failed = 0;
};

void waitFor(HANDLE process, Totals& totals) {
    DWORD status = 1;
    FILETIME created;
    FILETIME ended;
    FILETIME kernel;
    FILETIME user;
    WaitForSingleObject(process, INFINITE);
    GetExitCodeProcess(process, &status);
    GetProcessTimes(process, &created, &ended, &kernel, &user);
    totals.processor += seconds(kernel) + seconds(user);
    totals.failed += status == 0 ? 0 : 1;
    CloseHandle(process);
}

}  // namespace

int wmain(int count, wchar_t* arguments[]) {
    if (count < 4) {
        return 1;
    }
    const int launchers = std::stoi(arguments[1]);
    const bool areTogether = std::wcscmp(arguments[2], L"together") == 0;
    const std::wstring command = bench::commandLine(count, arguments, 3);
    Totals totals;
    std::vector<HANDLE> running;
    const ULONGLONG begin = GetTickCount64();
    for (int i = 0; i < launchers; ++i) {
        HANDLE process = start(command);
        if (process == nullptr) {
            return 1;
        }
        if (areTogether) {
            running.push_back(process);
        } else {
            waitFor(process, totals);
        }
    }
    for (HANDLE process : running) {
        waitFor(process, totals);
    }
    std::printf("%.3f %.3f %d\n", static_cast<double>(GetTickCount64() - begin) / 1000, totals.processor,
                totals.failed);
    return 0;
}
