// bench_run_time <program> [argument...]: starts the program and prints the nanoseconds until it has ended.
#include <windows.h>

#include <cstdio>

#include "child_process.h"
#include "stopwatch.h"

int wmain(int count, wchar_t* arguments[]) {
    constexpr DWORD patienceMilliseconds = 120'000;
    const std::wstring command = bench::commandLine(count, arguments, 1);
    PROCESS_INFORMATION process = {};
    const bench::Stopwatch stopwatch;
    if (!bench::startProcess(command, 0, process)) {
        return 1;
    }
    if (WaitForSingleObject(process.hProcess, patienceMilliseconds) != WAIT_OBJECT_0) {
        TerminateProcess(process.hProcess, 1);
        return 1;
    }
    std::printf("%.0f\n", stopwatch.nanoseconds());
    DWORD status = 1;
    GetExitCodeProcess(process.hProcess, &status);
    return status == 0 ? 0 : 1;
}
