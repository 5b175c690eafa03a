// bench_hold_lock <workspace>: takes the lock of the workspace as a launcher does. Prints a line for each
// line of its input, and releases the lock at the end of the input.
#include <cstdio>

#include "foundation/user_files.h"
#include "instance/platform_lock.h"

int wmain(int count, wchar_t* arguments[]) {
    if (count != 2) {
        return 1;
    }
    zellauncher::lockFilePath = std::wstring(arguments[1]) + L"\\" + zellauncher::lockFileName;
    zellauncher::openLockFile();
    if (!zellauncher::relockPlatformFile()) {
        return 1;
    }
    for (int character = std::getchar(); character != EOF; character = std::getchar()) {
        if (character == '\n') {
            std::puts("1");
            std::fflush(stdout);
        }
    }
    return 0;
}
