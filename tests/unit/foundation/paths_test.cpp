#include "foundation/paths.h"

#include "support/failing_allocation.h"
#include "support/launcher_fixture.h"
#include "support/text.h"

namespace {

using zellauncher::toBackslashes;
using zellauncher::toForwardSlashes;
using zellauncher::toLongPath;

class Paths : public launchertest::OnMachine {
protected:
    launchertest::Outcome outcome;

    // Empty if the process ended.
    std::wstring longPathOf(const std::wstring& path) {
        std::wstring longPath;
        outcome = run([&] { longPath = toLongPath(path); });
        return longPath;
    }
};

TEST_F(Paths, SeparatorsAreReplaced) {
    std::wstring path = L"C:/a\\b//c";
    toBackslashes(path);
    EXPECT_EQ(path, L"C:\\a\\b\\\\c");
    toForwardSlashes(path);
    EXPECT_EQ(path, L"C:/a/b//c");
    EXPECT_EQ(zellauncher::withBackslashes(L"C:/a\\b//c"), L"C:\\a\\b\\\\c");
    EXPECT_EQ(zellauncher::withForwardSlashes(L"C:/a\\b//c"), L"C:/a/b//c");
    std::wstring none;
    toBackslashes(none);
    toForwardSlashes(none);
    EXPECT_EQ(none, L"");
}

TEST_F(Paths, LongPathHasThePrefixAndBackslashes) {
    EXPECT_EQ(longPathOf(L"C:/x/y/"), L"\\\\?\\C:\\x\\y\\");
    EXPECT_EQ(longPathOf(L"C:\\x\\y"), L"\\\\?\\C:\\x\\y");
    EXPECT_EQ(longPathOf(L"C:\\x/y"), L"\\\\?\\C:\\x\\y");
    EXPECT_EQ(longPathOf(L"C:\\PROGRA~1\\y"), L"\\\\?\\C:\\PROGRA~1\\y");
    EXPECT_EQ(longPathOf(L"C:\\~x\\~y"), L"\\\\?\\C:\\~x\\~y");
    EXPECT_EQ(outcome.log, "");
}

TEST_F(Paths, LongPathOfALongPathIsItself) {
    EXPECT_EQ(longPathOf(L"\\\\?\\C:\\x"), L"\\\\?\\C:\\x");
    EXPECT_EQ(longPathOf(L"\\\\?\\C:/x\\"), L"\\\\?\\C:\\x\\");
}

TEST_F(Paths, DriveAloneKeepsItsEnding) {
    EXPECT_EQ(longPathOf(L"C:"), L"\\\\?\\C:");
    EXPECT_EQ(longPathOf(L"C:\\"), L"\\\\?\\C:\\");
    EXPECT_EQ(longPathOf(L"C:x\\y"), L"\\\\?\\C:x\\y");
}

TEST_F(Paths, DoubleSeparatorsAreMerged) {
    EXPECT_EQ(longPathOf(L"C:\\\\x//y\\/z\\\\"), L"\\\\?\\C:\\x\\y\\z\\");
    EXPECT_EQ(longPathOf(L"\\/C:\\x"), L"\\\\?\\C:\\x");
}

TEST_F(Paths, SingleDotIsRemoved) {
    EXPECT_EQ(longPathOf(L"C:\\a\\.\\b"), L"\\\\?\\C:\\a\\b");
    EXPECT_EQ(longPathOf(L"C:\\a\\."), L"\\\\?\\C:\\a");
    EXPECT_EQ(longPathOf(L"C:\\a\\.\\"), L"\\\\?\\C:\\a\\");
    EXPECT_EQ(longPathOf(L"C:\\.\\a"), L"\\\\?\\C:\\a");
}

TEST_F(Paths, DotComponentAfterADotComponentStays) {
    EXPECT_EQ(longPathOf(L"C:\\a\\.\\.\\b"), L"\\\\?\\C:\\a\\.\\b");
    EXPECT_EQ(longPathOf(L"C:\\a\\.\\..\\b"), L"\\\\?\\C:\\a\\..\\b");
}

TEST_F(Paths, DoubleDotRemovesTheComponentBefore) {
    EXPECT_EQ(longPathOf(L"C:\\a\\b\\..\\c"), L"\\\\?\\C:\\a\\c");
    EXPECT_EQ(longPathOf(L"C:\\a\\b\\.."), L"\\\\?\\C:\\a");
    EXPECT_EQ(longPathOf(L"C:\\a\\b\\..\\"), L"\\\\?\\C:\\a\\");
    EXPECT_EQ(longPathOf(L"C:\\a\\.."), L"\\\\?\\C:");
}

TEST_F(Paths, DoubleDotDropsTheSecondComponentAfter) {
    EXPECT_EQ(longPathOf(L"C:\\a\\b\\..\\c\\d\\e"), L"\\\\?\\C:\\a\\c\\e");
    EXPECT_EQ(longPathOf(L"C:\\a\\b\\..\\c\\d"), L"\\\\?\\C:\\a\\c");
    EXPECT_EQ(longPathOf(L"C:\\a\\b\\..\\c\\..\\e"), L"\\\\?\\C:\\a\\c\\e");
    EXPECT_EQ(longPathOf(L"C:\\a\\b\\..\\c\\d\\..\\e"), L"\\\\?\\C:\\a\\e");
    EXPECT_EQ(longPathOf(L"C:\\a\\b\\..\\..\\c"), L"\\\\?\\C:\\a\\..");
    EXPECT_EQ(longPathOf(L"C:\\a\\b\\..\\..\\c\\d"), L"\\\\?\\C:\\a\\..\\d");
}

TEST_F(Paths, DoubleDotAfterTheDriveRemovesTheDrive) {
    EXPECT_EQ(longPathOf(L"C:\\.."), L"\\\\?");
    EXPECT_EQ(longPathOf(L"C:\\..\\"), L"\\\\?\\");
    EXPECT_EQ(longPathOf(L"C:\\..\\a\\b\\c"), L"\\\\?\\a\\c");
}

TEST_F(Paths, OtherDotsAreKept) {
    EXPECT_EQ(longPathOf(L"C:\\...\\.a\\b..\\c."), L"\\\\?\\C:\\...\\.a\\b..\\c.");
}

TEST_F(Paths, LastCharacterDecidesTheTrailingSeparator) {
    EXPECT_EQ(longPathOf(L"C:\\a\\b\\..\\/"), L"\\\\?\\C:\\a\\");
    EXPECT_EQ(longPathOf(L"C:\\a\\b\\..\\c\\d/"), L"\\\\?\\C:\\a\\c\\");
}

TEST_F(Paths, LongPathHasNoLengthLimit) {
    std::wstring path = L"C:";
    while (path.size() < 30000) {
        path += L"\\component";
    }
    EXPECT_EQ(longPathOf(path), L"\\\\?\\" + path);
}

TEST_F(Paths, PathWithoutADriveIsFatal) {
    for (const wchar_t* path :
         {L"x\\y", L".\\y", L"..\\y", L".", L"..", L"\\\\server\\share", L"\\\\?\\UNC\\server\\share", L"\\x",
          L"x", L"~C:\\x", L"\\\\?\\", L"\\\\?", L"\\", L"/", L""}) {
        SCOPED_TRACE(launchertest::toUtf8(path));
        EXPECT_EQ(longPathOf(path), L"");
        EXPECT_TRUE(outcome.isFatal());
        EXPECT_EQ(outcome.log, "ZLNCH0140E: relative paths can not be converted to unicode path\n");
    }
}

TEST_F(Paths, LongPathWithoutMemoryIsFatal) {
    const std::wstring path = L"C:\\" + std::wstring(50000, L'x');
    for (const auto& [nth, line] :
         {std::pair(1, "ZLNCH0028E: malloc failed!\n"), std::pair(2, "ZLNCH0029E: malloc failed!\n")}) {
        SCOPED_TRACE(nth);
        outcome = run([&, allocation = nth] {
            const launchertest::FailingAllocation failing(50000, allocation);
            toLongPath(path);
            ADD_FAILURE() << "continued without the memory";
        });
        EXPECT_TRUE(outcome.isFatal());
        EXPECT_EQ(outcome.log, line);
    }
}

}  // namespace
