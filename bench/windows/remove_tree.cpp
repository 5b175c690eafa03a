// bench_remove_tree <directory>: removes the directory as the launcher does, and prints the nanoseconds.
#include <windows.h>

#include <cstdio>

#include "foundation/directory_removal.h"

int wmain(int count, wchar_t* arguments[]) {
    if (count != 2) {
        return 1;
    }
    LARGE_INTEGER frequency;
    LARGE_INTEGER begin;
    LARGE_INTEGER end;
    QueryPerformanceFrequency(&frequency);
    QueryPerformanceCounter(&begin);
    std::wstring errors;
    const bool isGone = zellauncher::removeDirectory(arguments[1], errors);
    QueryPerformanceCounter(&end);
    std::printf("%.0f\n", static_cast<double>(end.QuadPart - begin.QuadPart) * 1e9 /
                              static_cast<double>(frequency.QuadPart));
    return isGone ? 0 : 1;
}
