#include <gtest/gtest.h>

extern "C" int wmain(int count, wchar_t** words) {
    testing::InitGoogleTest(&count, words);
    return RUN_ALL_TESTS();
}
