#include "properties/platform_lines.h"

#include <gtest/gtest.h>

namespace {

void expectKept(std::wstring line, const std::wstring& kept) {
    const std::wstring given = line;
    EXPECT_FALSE(zellauncher::isForeignPlatformLine(line)) << std::string(given.begin(), given.end());
    EXPECT_EQ(line, kept);
}

void expectDropped(std::wstring line) {
    EXPECT_TRUE(zellauncher::isForeignPlatformLine(line));
}

TEST(PlatformLines, OfThisSystemLoseTheirQualifier) {
    expectKept(L"a.b.win32=1", L"a.b=1");
    expectKept(L"a.b.win32 : 1", L"a.b : 1");
    expectKept(L"a.win32x=1", L"a=1");
    expectKept(L"a.win32", L"a");
}

TEST(PlatformLines, OfOtherSystemsAreDropped) {
    expectDropped(L"a.b.linux=1");
    expectDropped(L"a.b.macosx=1");
    expectDropped(L"a.linuxish=1");
    expectDropped(L"a~b.linux=1");
    expectDropped(L"  a.linux=1");
    expectDropped(L"x-Dfoo.linux=1");
    expectDropped(L"a.linux");
    expectDropped(L"a.linux\\");
}

TEST(PlatformLines, OthersAreKeptAsTheyAre) {
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
    EXPECT_TRUE(zellauncher::endsInContinuation(L"abc\\"));
    EXPECT_FALSE(zellauncher::endsInContinuation(L"abc\\\\"));
    EXPECT_TRUE(zellauncher::endsInContinuation(L"abc\\\\\\"));
    EXPECT_FALSE(zellauncher::endsInContinuation(L"abc"));
}

TEST(Continuation, DoesNotCountTheFirstCharacter) {
    EXPECT_FALSE(zellauncher::endsInContinuation(L"\\"));
    EXPECT_TRUE(zellauncher::endsInContinuation(L"\\\\"));
    EXPECT_FALSE(zellauncher::endsInContinuation(L"\\\\\\"));
    EXPECT_FALSE(zellauncher::endsInContinuation(L""));
}

}  // namespace
