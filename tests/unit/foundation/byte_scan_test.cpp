#include "foundation/byte_scan.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>

namespace {

using zellauncher::findAny;
using zellauncher::isAscii;

constexpr std::size_t longest = 50;  // several blocks, whole and in part

TEST(ByteScan, FirstSoughtByteIsFoundAtEveryPosition) {
    for (std::size_t size = 0; size <= longest; ++size) {
        EXPECT_EQ((findAny<'\r', '\\'>(std::string(size, 'x'))), size);
        for (std::size_t position = 0; position < size; ++position) {
            std::string text(size, 'x');
            text[position] = '\\';
            EXPECT_EQ((findAny<'\r', '\\'>(text)), position);
            std::fill(text.begin() + static_cast<std::ptrdiff_t>(position), text.end(), '\r');
            EXPECT_EQ((findAny<'\r', '\\'>(text)), position);
            EXPECT_EQ(findAny<'\r'>(text), position);
            EXPECT_EQ(findAny<'\\'>(text), size);
        }
    }
}

TEST(ByteScan, BytesWithTheHighestBitAreOthers) {
    std::string all;
    for (int byte = 0; byte < 256; ++byte) {
        all += static_cast<char>(byte);
    }
    const std::string reversed(all.rbegin(), all.rend());
    EXPECT_EQ(findAny<'\0'>(all), 0U);
    EXPECT_EQ(findAny<'\x1A'>(all), 0x1AU);
    EXPECT_EQ(findAny<'\x1A'>(reversed), 255U - 0x1A);
    EXPECT_EQ(findAny<'\0'>(reversed), 255U);
    EXPECT_EQ((findAny<'\xFF', '='>(reversed)), 0U);
    EXPECT_EQ((findAny<'\x80', '='>(all)), std::size_t{'='});
}

TEST(ByteScan, AsciiHasNoByteFrom0x80On) {
    for (std::size_t size = 0; size <= longest; ++size) {
        EXPECT_TRUE(isAscii(std::string(size, '\x7F')));
        for (std::size_t position = 0; position < size; ++position) {
            std::string text(size, '\0');
            text[position] = '\x80';
            EXPECT_FALSE(isAscii(text));
        }
    }
}

}  // namespace
