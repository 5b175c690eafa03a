// bench_at_once <count> together|in-turn <launcher> [argument...]: starts the launcher so many times with the
// same arguments, all at once or each after the end of the one before, and prints the seconds until the last
// one has ended, the processor's seconds of all of them, and how many failed.
#include <windows.h>

#include <cstdio>
#include <cwchar>
#include <string>
#include <vector>

namespace {

double seconds(const FILETIME& time) {
    ULARGE_INTEGER value;
    value.LowPart = time.dwLowDateTime;
    value.HighPart = time.dwHighDateTime;
    return static_cast<double>(value.QuadPart) / 1e7;
}

HANDLE start(std::wstring command) {
    STARTUPINFOW startup = {};
    startup.cb = sizeof startup;
    PROCESS_INFORMATION process = {};
    if (CreateProcessW(nullptr, command.data(), nullptr, nullptr, FALSE, CREATE_NO_WINDOW, nullptr, nullptr,
                       &startup, &process) == 0) {
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
    std::wstring command;
    for (int i = 3; i < count; ++i) {
        command += (i > 3 ? L" \"" : L"\"") + std::wstring(arguments[i]) + L"\"";
    }
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
