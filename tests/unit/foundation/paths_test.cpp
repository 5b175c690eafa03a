#include "foundation/paths.h"

#include "support/failing_allocation.h"
#include "support/launcher_fixture.h"

namespace {

using zellauncher::resolveWorkspacePath;
using zellauncher::toBackslashes;
using zellauncher::toForwardSlashes;
using zellauncher::toLongPath;

class Paths : public launchertest::OnMachine {
protected:
    launchertest::Outcome outcome;

    // Empty when the process ended instead.
    std::wstring longFormOf(const std::wstring& path) {
        std::wstring converted;
        outcome = run([&] {
            std::wstring inPlace = path;
            toLongPath(inPlace);
            converted = inPlace;
        });
        return converted;
    }

    std::wstring workspaceOf(const std::wstring& path) {
        std::wstring full = L"untouched";
        outcome = run([&] { resolveWorkspacePath(path, full); });
        return full;
    }
};

TEST_F(Paths, SeparatorsAreTurnedInPlace) {
    std::wstring path = L"C:/a\\b//c";
    toBackslashes(path);
    EXPECT_EQ(path, L"C:\\a\\b\\\\c");
    toForwardSlashes(path);
    EXPECT_EQ(path, L"C:/a/b//c");
    std::wstring none;
    toBackslashes(none);
    toForwardSlashes(none);
    EXPECT_EQ(none, L"");
}

TEST_F(Paths, TheLongFormHasThePrefixAndOneKindOfSeparator) {
    EXPECT_EQ(longFormOf(L"C:/x/y/"), L"\\\\?\\C:\\x\\y\\");
    EXPECT_EQ(longFormOf(L"C:\\x\\y"), L"\\\\?\\C:\\x\\y");
    EXPECT_EQ(longFormOf(L"C:\\x/y"), L"\\\\?\\C:\\x\\y");
    EXPECT_EQ(outcome.log, "");
}

TEST_F(Paths, TheLongFormOfALongFormIsItself) {
    EXPECT_EQ(longFormOf(L"\\\\?\\C:\\x"), L"\\\\?\\C:\\x");
    EXPECT_EQ(longFormOf(L"\\\\?\\C:/x\\"), L"\\\\?\\C:\\x\\");
}

TEST_F(Paths, ADriveAloneKeepsItsEnding) {
    EXPECT_EQ(longFormOf(L"C:"), L"\\\\?\\C:");
    EXPECT_EQ(longFormOf(L"C:\\"), L"\\\\?\\C:\\");
    EXPECT_EQ(longFormOf(L"C:x\\y"), L"\\\\?\\C:x\\y");
}

TEST_F(Paths, DoubleSeparatorsVanish) {
    EXPECT_EQ(longFormOf(L"C:\\\\x//y\\/z\\\\"), L"\\\\?\\C:\\x\\y\\z\\");
    EXPECT_EQ(longFormOf(L"\\/C:\\x"), L"\\\\?\\C:\\x");
}

TEST_F(Paths, ASingleDotVanishes) {
    EXPECT_EQ(longFormOf(L"C:\\a\\.\\b"), L"\\\\?\\C:\\a\\b");
    EXPECT_EQ(longFormOf(L"C:\\a\\."), L"\\\\?\\C:\\a");
    EXPECT_EQ(longFormOf(L"C:\\a\\.\\"), L"\\\\?\\C:\\a\\");
    EXPECT_EQ(longFormOf(L"C:\\.\\a"), L"\\\\?\\C:\\a");
}

TEST_F(Paths, OfTwoDotsInARowTheSecondStays) {
    EXPECT_EQ(longFormOf(L"C:\\a\\.\\.\\b"), L"\\\\?\\C:\\a\\.\\b");
    EXPECT_EQ(longFormOf(L"C:\\a\\.\\..\\b"), L"\\\\?\\C:\\a\\..\\b");
}

TEST_F(Paths, TwoDotsTakeTheComponentInFrontOfThemAlong) {
    EXPECT_EQ(longFormOf(L"C:\\a\\b\\..\\c"), L"\\\\?\\C:\\a\\c");
    EXPECT_EQ(longFormOf(L"C:\\a\\b\\.."), L"\\\\?\\C:\\a");
    EXPECT_EQ(longFormOf(L"C:\\a\\b\\..\\"), L"\\\\?\\C:\\a\\");
    EXPECT_EQ(longFormOf(L"C:\\a\\.."), L"\\\\?\\C:");
}

TEST_F(Paths, TwoDotsLoseTheSecondComponentBehindThem) {
    EXPECT_EQ(longFormOf(L"C:\\a\\b\\..\\c\\d\\e"), L"\\\\?\\C:\\a\\c\\e");
    EXPECT_EQ(longFormOf(L"C:\\a\\b\\..\\c\\d"), L"\\\\?\\C:\\a\\c");
    EXPECT_EQ(longFormOf(L"C:\\a\\b\\..\\c\\..\\e"), L"\\\\?\\C:\\a\\c\\e");
    EXPECT_EQ(longFormOf(L"C:\\a\\b\\..\\c\\d\\..\\e"), L"\\\\?\\C:\\a\\e");
    EXPECT_EQ(longFormOf(L"C:\\a\\b\\..\\..\\c"), L"\\\\?\\C:\\a\\..");
    EXPECT_EQ(longFormOf(L"C:\\a\\b\\..\\..\\c\\d"), L"\\\\?\\C:\\a\\..\\d");
}

TEST_F(Paths, TwoDotsBehindTheDriveTakeTheDriveAlong) {
    EXPECT_EQ(longFormOf(L"C:\\.."), L"\\\\?");
    EXPECT_EQ(longFormOf(L"C:\\..\\"), L"\\\\?\\");
    EXPECT_EQ(longFormOf(L"C:\\..\\a\\b\\c"), L"\\\\?\\a\\c");
}

TEST_F(Paths, OtherDotsAreNames) {
    EXPECT_EQ(longFormOf(L"C:\\...\\.a\\b..\\c."), L"\\\\?\\C:\\...\\.a\\b..\\c.");
}

TEST_F(Paths, TheLastCharacterOfTheInputDecidesTheEnding) {
    EXPECT_EQ(longFormOf(L"C:\\a\\b\\..\\/"), L"\\\\?\\C:\\a\\");
    EXPECT_EQ(longFormOf(L"C:\\a\\b\\..\\c\\d/"), L"\\\\?\\C:\\a\\c\\");
}

TEST_F(Paths, APathOfAnyLengthIsTaken) {
    std::wstring path = L"C:";
    while (path.size() < 30000) {
        path += L"\\component";
    }
    EXPECT_EQ(longFormOf(path), L"\\\\?\\" + path);
}

TEST_F(Paths, APathThatIsNotOnADriveEndsTheStart) {
    for (const wchar_t* path :
         {L"x\\y", L".\\y", L"..\\y", L".", L"..", L"\\\\server\\share", L"\\\\?\\UNC\\server\\share", L"\\x",
          L"x", L"\\\\?\\", L"\\\\?", L"\\", L"/", L""}) {
        EXPECT_EQ(longFormOf(path), L"");
        EXPECT_TRUE(outcome.isFatal());
        EXPECT_EQ(outcome.log, "ZLNCH0140E: relative paths can not be converted to unicode path\n");
    }
}

TEST_F(Paths, WithoutMemoryForTheLongFormTheStartEnds) {
    const std::wstring path = L"C:\\" + std::wstring(50000, L'x');
    for (const int nth : {1, 2}) {
        outcome = run([&] {
            std::wstring inPlace = path;
            const launchertest::FailingAllocation failing(50000, nth);
            toLongPath(inPlace);
            ADD_FAILURE() << "went on without the memory";
        });
        EXPECT_TRUE(outcome.isFatal());
        EXPECT_EQ(outcome.log, nth == 1 ? "ZLNCH0028E: malloc failed!\n" : "ZLNCH0029E: malloc failed!\n");
    }
}

TEST_F(Paths, AnAbsoluteWorkspaceStaysAsItIs) {
    machine.setCurrentDirectory(L"C:\\work");
    for (const wchar_t* path : {L"C:\\ws", L"D:/ws/../x\\", L"?:\\", L"C:/", L"\\\\?\\relative", L"\\\\"}) {
        EXPECT_EQ(workspaceOf(path), path);
        EXPECT_EQ(outcome.end.status, 0U);
    }
    for (const simulation::Operation& made : machine.operations()) {
        EXPECT_NE(made.name, "fullPathName");
    }
}

TEST_F(Paths, ARelativeWorkspaceIsMadeFull) {
    machine.setCurrentDirectory(L"C:\\work");
    EXPECT_EQ(workspaceOf(L"ws"), L"C:\\work\\ws");
    EXPECT_EQ(workspaceOf(L"..\\ws/x"), L"C:\\ws\\x");
    EXPECT_EQ(workspaceOf(L"C:ws"), L"C:\\work\\ws");
    EXPECT_EQ(workspaceOf(L"\\ws"), L"C:\\ws");
    EXPECT_EQ(workspaceOf(L"x${a}"), L"C:\\work\\x${a}");
    EXPECT_EQ(workspaceOf(L"\\\\server\\share"), L"\\\\server\\share");
    EXPECT_EQ(machine.operations().at(machine.operationCount() - 1).name, "fullPathName");
}

TEST_F(Paths, AnEmptyWorkspaceIsTheCurrentDirectory) {
    machine.setCurrentDirectory(L"C:\\work");
    EXPECT_EQ(workspaceOf(L""), L"C:\\work");
}

TEST_F(Paths, AWorkspaceWithAnUntranslatedPlaceholderEndsTheStart) {
    for (const wchar_t* path : {L"${prop.ws}\\x", L"${"}) {
        EXPECT_EQ(workspaceOf(path), path);
        EXPECT_TRUE(outcome.isFatal());
        EXPECT_EQ(outcome.log, "ZLNCH0301E: Starts with placeholder. This should be translated\n");
    }
}

TEST_F(Paths, AWorkspaceMustFitInto260Characters) {
    const std::wstring fits(260 - 1 - 3, L'w');
    EXPECT_EQ(workspaceOf(fits), L"C:\\" + fits);
    workspaceOf(fits + L"w");
    EXPECT_TRUE(outcome.isFatal());
    EXPECT_EQ(outcome.log, "ZLNCH0302E: Unable to convert relative workspace path to a full path\n");
}

TEST_F(Paths, AWorkspaceThatTheSystemCannotMakeFullEndsTheStart) {
    simulation::Fault fault;
    fault.operation = "fullPathName";
    machine.inject(fault);
    workspaceOf(L"ws");
    EXPECT_TRUE(outcome.isFatal());
    EXPECT_EQ(outcome.lastLine(), "ZLNCH0302E: Unable to convert relative workspace path to a full path");
}

}  // namespace
