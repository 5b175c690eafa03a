#include "foundation/text.h"

#include <gtest/gtest.h>

#include "support/text.h"

namespace {

using zellauncher::byteToUnit;
using zellauncher::parseDecimal;
using zellauncher::parseHexUnit;
using zellauncher::replaceFirst;
using zellauncher::unitToByte;
using zellauncher::upToNul;
using zellauncher::widen;
using zellauncher::wideToNarrow;

using namespace std::string_literals;

TEST(Text, ByteBecomesTheUnitOfTheSameValue) {
    for (int number = 0; number <= 0xFF; ++number) {
        const char byte = static_cast<char>(static_cast<unsigned char>(number));
        EXPECT_EQ(byteToUnit(byte), static_cast<wchar_t>(number));
        char back = '?';
        EXPECT_TRUE(unitToByte(static_cast<wchar_t>(number), back));
        EXPECT_EQ(back, byte);
    }
}

TEST(Text, UnitAbove255IsNoByte) {
    char byte = '?';
    EXPECT_FALSE(unitToByte(L'\u0100', byte));
    EXPECT_FALSE(unitToByte(static_cast<wchar_t>(0xFFFF), byte));
    EXPECT_EQ(byte, '?');
}

TEST(Text, WidenKeepsEveryByte) {
    EXPECT_EQ(widen(""), L"");
    EXPECT_EQ(widen("a\0\xE4\xFF"s), L"a\0\u00E4\u00FF"s);
}

TEST(Text, UnitAbove255IsNarrowedToAnEscape) {
    EXPECT_EQ(wideToNarrow(L""), "");
    EXPECT_EQ(wideToNarrow(L"C:\\plain"), "C:\\plain");
    EXPECT_EQ(wideToNarrow(L"\u00E4\u00FF"), "\xE4\xFF");
    EXPECT_EQ(wideToNarrow(L"\u0100z\u0142oty"), "\\u0100z\\u0142oty");
    EXPECT_EQ(wideToNarrow(std::wstring{static_cast<wchar_t>(0xD83D), static_cast<wchar_t>(0xFFFF)}),
              "\\ud83d\\uffff");
}

TEST(Text, NarrowingUndoesWidening) {
    const std::string bytes = "x\0\x80\xFF"s;
    EXPECT_EQ(wideToNarrow(widen(bytes)), bytes);
    EXPECT_EQ(wideToNarrow(widen("x") + L"y"), "xy");
}

TEST(Text, OnlyTheFirstOccurrenceIsReplaced) {
    std::wstring text = L"a-b-c";
    EXPECT_TRUE(replaceFirst(text, L"-", L"--"));
    EXPECT_EQ(text, L"a--b-c");
    EXPECT_TRUE(replaceFirst(text, L"--b", L""));
    EXPECT_EQ(text, L"a-c");
    EXPECT_FALSE(replaceFirst(text, L"A", L"x"));
    EXPECT_FALSE(replaceFirst(text, L"a-c-", L"x"));
    EXPECT_EQ(text, L"a-c");
}

TEST(Text, TextEndsAtItsFirstNul) {
    EXPECT_EQ(upToNul(L"abc"), L"abc");
    EXPECT_EQ(upToNul(L"ab\0c\0d"s), L"ab");
    EXPECT_EQ(upToNul(L"\0abc"s), L"");
    EXPECT_EQ(upToNul(L""), L"");
}

TEST(Text, DecimalNumberIsReadFromTheBeginning) {
    EXPECT_EQ(parseDecimal(L"42"), 42);
    EXPECT_EQ(parseDecimal(L" \t\n\v\f\r-42abc"), -42);
    EXPECT_EQ(parseDecimal(L"+7"), 7);
    EXPECT_EQ(parseDecimal(L"007"), 7);
    EXPECT_EQ(parseDecimal(L"1 2"), 1);
}

TEST(Text, NumberWithoutDigitsIsZero) {
    for (const wchar_t* text : {L"", L" ", L"abc", L"-", L"+-1", L"- 1", L"\u00A01", L"\u0661"}) {
        EXPECT_EQ(parseDecimal(text), 0) << launchertest::toUtf8(text);
    }
    EXPECT_EQ(parseHexUnit(L""), L'\0');
    EXPECT_EQ(parseHexUnit(L"ghij"), L'\0');
    EXPECT_EQ(parseHexUnit(L" 0x4"), wchar_t{4});
    EXPECT_EQ(parseHexUnit(std::wstring_view(L"   0x1", 4)), L'\0');  // `x` is not part of it
}

TEST(Text, DecimalNumberIsClampedTo32Bits) {
    EXPECT_EQ(parseDecimal(L"2147483647"), 2147483647);
    EXPECT_EQ(parseDecimal(L"2147483648"), 2147483647);
    EXPECT_EQ(parseDecimal(L"-2147483648"), -2147483647 - 1);
    EXPECT_EQ(parseDecimal(L"-2147483649"), -2147483647 - 1);
    EXPECT_EQ(parseDecimal(L"-2147483647"), -2147483647);
    EXPECT_EQ(parseDecimal(std::wstring(1000, L'9')), 2147483647);
    EXPECT_EQ(parseDecimal(L"-" + std::wstring(1000, L'9')), -2147483647 - 1);
}

TEST(Text, HexNumberIsReadFromTheBeginning) {
    EXPECT_EQ(parseHexUnit(L"0142"), L'\u0142');
    EXPECT_EQ(parseHexUnit(L"aBcD"), L'\uABCD');
    EXPECT_EQ(parseHexUnit(L"a0f9"), L'\uA0F9');
    EXPECT_EQ(parseHexUnit(L"A0F9"), L'\uA0F9');
    EXPECT_EQ(parseHexUnit(L"  41"), L'A');
    EXPECT_EQ(parseHexUnit(L"+041"), L'A');
    EXPECT_EQ(parseHexUnit(L"0x41"), L'A');
    EXPECT_EQ(parseHexUnit(L"0X41"), L'A');
    EXPECT_EQ(parseHexUnit(L"41zz"), L'A');
    EXPECT_EQ(parseHexUnit(L"0xzz"), L'\0');
    EXPECT_EQ(parseHexUnit(L"0x"), L'\0');
    EXPECT_EQ(parseHexUnit(L"\b41"), L'\0');
}

TEST(Text, NegativeHexNumberWrapsAround) {
    EXPECT_EQ(parseHexUnit(L"-001"), static_cast<wchar_t>(0xFFFF));
    EXPECT_EQ(parseHexUnit(L" -2"), static_cast<wchar_t>(0xFFFE));
}

TEST(Text, OnlyTheCaseOfAToZIsIgnored) {
    EXPECT_TRUE(zellauncher::equalIgnoringCase(L"Explorer.EXE", L"eXPLORER.exe"));
    EXPECT_TRUE(zellauncher::equalIgnoringCase(L"az", L"AZ"));
    EXPECT_FALSE(zellauncher::equalIgnoringCase(L"a", L"ab"));
    EXPECT_FALSE(zellauncher::equalIgnoringCase(L"\u00C9", L"\u00E9"));
    EXPECT_FALSE(zellauncher::equalIgnoringCase(L"@[", L"`{"));
    EXPECT_TRUE(zellauncher::equalIgnoringCase(L"", L""));
    EXPECT_EQ(zellauncher::lowerAscii(L'Z'), L'z');
    EXPECT_EQ(zellauncher::lowerAscii(L'['), L'[');
}

}  // namespace
