// bench_start_time <program> [argument...]: starts the program, which is to start bench_child, and prints the
// nanoseconds until that one runs. Then ends the program, which may still wait for the child.
#include <windows.h>

#include <cstdio>

#include "child_process.h"
#include "stopwatch.h"

int wmain(int count, wchar_t* arguments[]) {
    constexpr DWORD patienceMilliseconds = 30'000;
    HANDLE event = CreateEventW(nullptr, FALSE, FALSE, L"zellauncher-bench-child");
    const std::wstring command = bench::commandLine(count, arguments, 1);
    PROCESS_INFORMATION process = {};
    const bench::Stopwatch stopwatch;
    if (!bench::startProcess(command, 0, process)) {
        return 1;
    }
    const bool hasStarted = WaitForSingleObject(event, patienceMilliseconds) == WAIT_OBJECT_0;
    const double nanoseconds = stopwatch.nanoseconds();
    TerminateProcess(process.hProcess, 0);
    WaitForSingleObject(process.hProcess, patienceMilliseconds);
    std::printf("%.0f\n", nanoseconds);
    return hasStarted ? 0 : 1;
}
