#include <gtest/gtest.h>

extern "C" int wmain(int count, wchar_t** arguments) {
    testing::InitGoogleTest(&count, arguments);
    return RUN_ALL_TESTS();
}
