#include "properties/packed_text.h"

#include <gtest/gtest.h>

namespace {

std::string packed(std::wstring_view text) {
    std::string bytes;
    zellauncher::appendPacked(bytes, text, zellauncher::packedSize(text));
    EXPECT_EQ(bytes.size(), zellauncher::packedSize(text));
    return bytes;
}

TEST(PackedText, PlainTextTakesOneByteEach) {
    EXPECT_EQ(packed(L"a=b \x7F"), "a=b \x7F");
    EXPECT_EQ(packed(std::wstring(1, L'\0')), std::string(1, '\0'));
}

TEST(PackedText, HigherUnitsTakeTwoOrThree) {
    EXPECT_EQ(packed(L"\u0080"), "\xC2\x80");
    EXPECT_EQ(packed(L"\u07FF\u0800"), "\xDF\xBF\xE0\xA0\x80");
    EXPECT_EQ(packed(std::wstring(1, static_cast<wchar_t>(0xFFFF))), "\xEF\xBF\xBF");
}

// Bytes are packed like the units of the same values.
TEST(PackedText, BytesArePackedLikeTheirUnits) {
    for (int first = 0; first < 256; ++first) {
        const std::string text = {static_cast<char>(first), 'a'};
        std::string bytes = "before";
        zellauncher::appendPacked(bytes, text, zellauncher::packedSize(text));
        EXPECT_EQ(bytes, "before" + packed(std::wstring{static_cast<wchar_t>(first), L'a'}));
    }
}

TEST(PackedText, EveryUnitIsUnpackedUnchanged) {
    std::wstring text;
    for (int unit = 0; unit <= 0xFFFF; ++unit) {
        text += static_cast<wchar_t>(unit);
    }
    EXPECT_EQ(zellauncher::unpacked(packed(text)), text);
    EXPECT_EQ(zellauncher::unpacked(""), L"");
}

}  // namespace
