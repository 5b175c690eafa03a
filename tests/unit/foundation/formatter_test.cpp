#include "foundation/formatter.h"

#include <gtest/gtest.h>

#include <limits>

#include "support/text.h"

namespace {

using zellauncher::formatText;

std::wstring ofText(const std::wstring& format, const std::wstring& text) {
    return formatText(format, {text});
}

std::wstring ofSigned(const std::wstring& format, std::int64_t number) {
    return formatText(format, {number});
}

std::wstring ofUnsigned(const std::wstring& format, std::uint64_t number) {
    return formatText(format, {number});
}

TEST(Formatter, TextWithoutConversionsIsUnchanged) {
    EXPECT_EQ(formatText(L"", {}), L"");
    EXPECT_EQ(formatText(L"plain \\ \"text\" \u0142", {}), L"plain \\ \"text\" \u0142");
}

TEST(Formatter, EveryTextConversionTakesAText) {
    for (const wchar_t* conversion : {L"%s", L"%ls", L"%hs", L"%S", L"%ws"}) {
        SCOPED_TRACE(launchertest::toUtf8(conversion));
        EXPECT_EQ(ofText(L"<" + std::wstring(conversion) + L">", L"a%sb"), L"<a%sb>");
    }
}

TEST(Formatter, ArgumentsAreUsedInOrder) {
    EXPECT_EQ(formatText(L"%s=%d (%u)", {std::wstring(L"key"), std::int64_t{-1}, std::uint64_t{2}}),
              L"key=-1 (2)");
}

TEST(Formatter, SignedConversionsWriteDecimalNumbers) {
    for (const wchar_t* conversion : {L"%d", L"%i", L"%ld", L"%hd"}) {
        SCOPED_TRACE(launchertest::toUtf8(conversion));
        EXPECT_EQ(ofSigned(conversion, -42), L"-42");
        EXPECT_EQ(ofSigned(conversion, 0), L"0");
    }
    EXPECT_EQ(ofSigned(L"%d", std::numeric_limits<std::int64_t>::min()), L"-9223372036854775808");
    EXPECT_EQ(ofSigned(L"%d", std::numeric_limits<std::int64_t>::max()), L"9223372036854775807");
}

TEST(Formatter, UnsignedConversionsWriteDecimalNumbers) {
    for (const wchar_t* conversion : {L"%u", L"%lu", L"%hu"}) {
        SCOPED_TRACE(launchertest::toUtf8(conversion));
        EXPECT_EQ(ofUnsigned(conversion, 4294967295U), L"4294967295");
    }
    EXPECT_EQ(ofUnsigned(L"%u", std::numeric_limits<std::uint64_t>::max()), L"18446744073709551615");
}

TEST(Formatter, HexadecimalDigitsHaveTheCaseOfTheConversion) {
    EXPECT_EQ(ofUnsigned(L"%x", 0xBEEF9), L"beef9");
    EXPECT_EQ(ofUnsigned(L"%lx", 0), L"0");
    EXPECT_EQ(ofUnsigned(L"%X", 0xBEEF9), L"BEEF9");
    EXPECT_EQ(ofUnsigned(L"%04x", 0xAB), L"00ab");
    EXPECT_EQ(ofUnsigned(L"%04x", 0x12345), L"12345");
}

TEST(Formatter, WidthPadsOnTheLeft) {
    EXPECT_EQ(ofSigned(L"%5d", 42), L"   42");
    EXPECT_EQ(ofSigned(L"%05d", 42), L"00042");
    EXPECT_EQ(ofSigned(L"%05d", -42), L"-0042");
    EXPECT_EQ(ofSigned(L"%5d", -42), L"  -42");
    EXPECT_EQ(ofSigned(L"%1d", 42), L"42");
    EXPECT_EQ(ofText(L"%4s|", L"ab"), L"  ab|");
    EXPECT_EQ(ofText(L"%1s|", L"ab"), L"ab|");
}

TEST(Formatter, PrecisionSetsMinimumDigitsOrMaximumCharacters) {
    EXPECT_EQ(ofSigned(L"%.2d", 7), L"07");
    EXPECT_EQ(ofSigned(L"%.3hd", -7), L"-007");
    EXPECT_EQ(ofSigned(L"%.4d", 20261), L"20261");
    EXPECT_EQ(ofSigned(L"%05.2d", 7), L"   07");
    EXPECT_EQ(ofUnsigned(L"%.4x", 0xA), L"000a");
    EXPECT_EQ(ofText(L"%.2s", L"abcd"), L"ab");
    EXPECT_EQ(ofText(L"%.s", L"abcd"), L"");
    EXPECT_EQ(ofText(L"%4.2s", L"abcd"), L"  ab");
}

TEST(Formatter, DoublePercentWritesOnePercent) {
    EXPECT_EQ(ofText(L"100%% of %s", L"it"), L"100% of it");
    EXPECT_EQ(formatText(L"%%%%", {}), L"%%");
}

TEST(Formatter, ConversionWithoutAnArgumentWritesNothing) {
    EXPECT_EQ(formatText(L"<%s><%d><%x><%n><%5d>", {}), L"<><><><><>");
    EXPECT_EQ(ofText(L"<%s><%s>", L"one"), L"<one><>");
}

TEST(Formatter, MismatchedArgumentIsUsedUpWithoutOutput) {
    EXPECT_EQ(formatText(L"<%d><%s>", {std::wstring(L"text"), std::wstring(L"next")}), L"<><next>");
    EXPECT_EQ(formatText(L"<%s><%d>", {std::int64_t{1}, std::int64_t{2}}), L"<><2>");
    EXPECT_EQ(formatText(L"<%u><%d>", {std::int64_t{1}, std::uint64_t{2}}), L"<><>");
    EXPECT_EQ(formatText(L"<%x><%X>", {std::int64_t{1}, std::wstring(L"text")}), L"<><>");
}

TEST(Formatter, UnknownConversionUsesUpItsArgument) {
    for (const wchar_t* conversion : {L"%n", L"%p", L"%c", L"%f", L"%q", L"%\u0142"}) {
        SCOPED_TRACE(launchertest::toUtf8(conversion));
        EXPECT_EQ(formatText(L"<" + std::wstring(conversion) + L"><%s>",
                             {std::wstring(L"lost"), std::wstring(L"kept")}),
                  L"<><kept>");
    }
    EXPECT_EQ(ofText(L"%~d", L"lost"), L"d");  // neither a flag nor a point
    EXPECT_EQ(ofText(L"%~5d", L"lost"), L"5d");
}

TEST(Formatter, UnsupportedConversionWritesNothingAsAWhole) {
    for (const wchar_t* conversion :
         {L"%-5d",       L"%+d", L"% d",  L"%#x",  L"%-05s", L"%0-5s", L"% -+#0d", L"%I64d",
          L"%I32u",      L"%Id", L"%lld", L"%Ld",  L"%jd",   L"%zu",   L"%tx",     L"%hhd",
          L"%-12.3I64d", L"%5c", L"%.2f", L"%08p", L"%-s",   L"%#%"}) {
        SCOPED_TRACE(launchertest::toUtf8(conversion));
        EXPECT_EQ(formatText(L"<" + std::wstring(conversion) + L"|5d>", {}), L"<|5d>");
    }
}

TEST(Formatter, UnsupportedSizeUsesUpTheArgument) {
    for (const wchar_t* conversion : {L"%I64d", L"%I32d", L"%Id", L"%Ld", L"%jd", L"%zd", L"%td"}) {
        EXPECT_EQ(ofSigned(L"<" + std::wstring(conversion) + L">", 5), L"<>")
            << launchertest::toUtf8(conversion);
    }
}

TEST(Formatter, UnsupportedFlagUsesUpTheArgument) {
    EXPECT_EQ(formatText(L"<%-5s><%s>", {std::wstring(L"lost"), std::wstring(L"kept")}), L"<><kept>");
    EXPECT_EQ(formatText(L"<%+d><%d>", {std::int64_t{1}, std::int64_t{2}}), L"<><2>");
}

TEST(Formatter, StarUsesUpAnArgumentOfItsOwn) {
    EXPECT_EQ(formatText(L"<%*d>", {}), L"<>");
    EXPECT_EQ(formatText(L"<%*d><%s>", {std::int64_t{5}, std::int64_t{1}, std::wstring(L"kept")}),
              L"<><kept>");
    EXPECT_EQ(
        formatText(L"<%-*.*s><%d>", {std::int64_t{5}, std::int64_t{1}, std::wstring(L"x"), std::int64_t{2}}),
        L"<><2>");
}

TEST(Formatter, IncompleteConversionAtTheEndWritesNothing) {
    for (const wchar_t* ending :
         {L"%", L"%0", L"%12", L"%12.", L"%.3", L"%l", L"%0l", L"%-", L"%*", L"%.*", L"%I64", L"%I3"}) {
        SCOPED_TRACE(launchertest::toUtf8(ending));
        EXPECT_EQ(ofText(L"end" + std::wstring(ending), L"unused"), L"end");
        EXPECT_EQ(formatText(L"end" + std::wstring(ending), {}), L"end");
    }
}

TEST(Formatter, WidthAndPrecisionMayHaveSeveralDigits) {
    EXPECT_EQ(ofText(L"%12s", L"x"), std::wstring(11, L' ') + L"x");
    EXPECT_EQ(ofSigned(L"%.12d", 1), std::wstring(11, L'0') + L"1");
}

TEST(Formatter, WidthAndPrecisionStopAt4096) {
    EXPECT_EQ(ofText(L"%4096s", L"x").size(), 4096U);
    EXPECT_EQ(ofText(L"%4097s", L"x").size(), 4096U);
    EXPECT_EQ(ofText(L"%99999999999999999999999s", L"x").size(), 4096U);
    EXPECT_EQ(ofSigned(L"%.99999999999999999999999d", 1).size(), 4096U);
    EXPECT_EQ(ofText(L"%.5000s", std::wstring(6000, L'y')).size(), 4096U);
}

TEST(Formatter, LongTextIsNotCut) {
    const std::wstring text(100000, L'z');
    EXPECT_EQ(ofText(L"<%ls>", text), L"<" + text + L">");
}

}  // namespace
