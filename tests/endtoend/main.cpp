#include <gtest/gtest.h>

#include "support/summary.h"

extern "C" int wmain(int count, wchar_t** arguments) {
    testing::InitGoogleTest(&count, arguments);
    launchertest::writeSummaryAtEnd();
    return RUN_ALL_TESTS();
}
