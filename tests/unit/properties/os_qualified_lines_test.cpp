#include "properties/os_qualified_lines.h"

#include <gtest/gtest.h>

#include "support/text.h"

namespace {

using launchertest::toUtf8;
using zellauncher::endsInContinuation;

void expectKept(const std::wstring& line, const std::wstring& expected) {
    std::wstring kept = line;
    EXPECT_FALSE(zellauncher::isForeignPlatformLine(kept)) << toUtf8(line);
    EXPECT_EQ(kept, expected) << toUtf8(line);
}

void expectDropped(const std::wstring& line) {
    std::wstring dropped = line;
    EXPECT_TRUE(zellauncher::isForeignPlatformLine(dropped)) << toUtf8(line);
}

TEST(OsQualifiedLines, Win32QualifierIsRemoved) {
    expectKept(L"a.b.win32=1", L"a.b=1");
    expectKept(L"a.b.win32 : 1", L"a.b : 1");
    expectKept(L"a.win32x=1", L"a=1");
    expectKept(L"a.win32", L"a");
}

TEST(OsQualifiedLines, LinesOfOtherSystemsAreDropped) {
    for (const wchar_t* line : {L"a.b.linux=1", L"a.b.macosx=1", L"a.linuxish=1", L"a~b.linux=1",
                                L"  a.linux=1", L"x-Dfoo.linux=1", L"a.linux", L"a.linux\\"}) {
        expectDropped(line);
    }
}

TEST(OsQualifiedLines, OtherLinesAreKept) {
    expectKept(L"a.win32.b=1", L"a.win32.b=1");
    expectKept(L"win32=1", L"win32=1");
    expectKept(L"linux=1", L"linux=1");
    expectKept(L"-Dfoo.linux=1", L"-Dfoo.linux=1");
    expectKept(L"  a=1", L"a=1");
    expectKept(L"a.b", L"a.b");
    expectKept(L"a.Linux=1", L"a.Linux=1");
    expectKept(L"a=x.linux", L"a=x.linux");
    expectKept(L"   ", L"   ");
    expectKept(L"", L"");
    expectKept(L"\ta=1", L"\ta=1");
}

TEST(Continuation, IsAnOddNumberOfBackslashes) {
    EXPECT_TRUE(endsInContinuation(L"abc\\"));
    EXPECT_FALSE(endsInContinuation(L"abc\\\\"));
    EXPECT_TRUE(endsInContinuation(L"abc\\\\\\"));
    EXPECT_FALSE(endsInContinuation(L"abc"));
}

TEST(Continuation, IgnoresTheFirstCharacter) {
    EXPECT_FALSE(endsInContinuation(L"\\"));
    EXPECT_TRUE(endsInContinuation(L"\\\\"));
    EXPECT_FALSE(endsInContinuation(L"\\\\\\"));
    EXPECT_FALSE(endsInContinuation(L""));
}

}  // namespace
