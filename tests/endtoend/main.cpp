#include <gtest/gtest.h>
#include <windows.h>

#include <cstdio>

#include "explained_start.h"
#include "support/summary.h"

extern "C" int wmain(int count, wchar_t** arguments) {
    // A program that crashes or lacks a library must not wait at a dialog. Processes inherit this.
    SetErrorMode(SEM_FAILCRITICALERRORS | SEM_NOGPFAULTERRORBOX);
    testing::InitGoogleTest(&count, arguments);
    launchertest::writeSummaryAtEnd();
    const int status = RUN_ALL_TESTS();
    if (endtoend::comparedStarts() > 0) {
        std::printf("%d starts were explained and compared\n", endtoend::comparedStarts());
    }
    return status;
}
