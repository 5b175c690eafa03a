// bench_start_time <program> [argument...]: starts the program, which is to start bench_child, and prints the
// nanoseconds until that one runs. Then ends the program, which may still wait for the child.
#include <windows.h>

#include <cstdio>
#include <string>

int wmain(int count, wchar_t* arguments[]) {
    std::wstring command;
    for (int i = 1; i < count; ++i) {
        command += (i > 1 ? L" \"" : L"\"") + std::wstring(arguments[i]) + L"\"";
    }
    constexpr DWORD patienceMilliseconds = 30'000;
    HANDLE event = CreateEventW(nullptr, FALSE, FALSE, L"zellauncher-bench-child");
    LARGE_INTEGER frequency;
    LARGE_INTEGER begin;
    LARGE_INTEGER end;
    QueryPerformanceFrequency(&frequency);
    QueryPerformanceCounter(&begin);
    STARTUPINFOW startup = {};
    startup.cb = sizeof startup;
    PROCESS_INFORMATION process = {};
    if (CreateProcessW(nullptr, command.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr, &startup,
                       &process) == 0) {
        return 1;
    }
    const bool hasStarted = WaitForSingleObject(event, patienceMilliseconds) == WAIT_OBJECT_0;
    QueryPerformanceCounter(&end);
    TerminateProcess(process.hProcess, 0);
    WaitForSingleObject(process.hProcess, patienceMilliseconds);
    std::printf("%.0f\n", static_cast<double>(end.QuadPart - begin.QuadPart) * 1e9 /
                              static_cast<double>(frequency.QuadPart));
    return hasStarted ? 0 : 1;
}
