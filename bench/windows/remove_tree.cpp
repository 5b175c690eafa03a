// bench_remove_tree <directory>: removes the directory as the launcher does, and prints the nanoseconds.
#include <windows.h>

#include <cstdio>

#include "foundation/directory_removal.h"
#include "stopwatch.h"

int wmain(int count, wchar_t* arguments[]) {
    if (count != 2) {
        return 1;
    }
    const bench::Stopwatch stopwatch;
    std::wstring errors;
    const bool isGone = zellauncher::removeDirectory(arguments[1], errors);
    std::printf("%.0f\n", stopwatch.nanoseconds());
    return isGone ? 0 : 1;
}
