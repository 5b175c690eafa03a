#include "foundation/directory_removal.h"

#include <algorithm>

#include "platform/clock.h"
#include "platform/files.h"
#include "support/faults.h"
#include "support/launcher_fixture.h"

namespace {

using launchertest::failing;
using zellauncher::removeDirectory;
using zellauncher::removeDirectoryContents;
using zellauncher::removeMatchingFiles;
using zellauncher::Subdirectories;
using zellauncher::walkDirectory;

constexpr const wchar_t* accessDenied = L"  -  Failed with error 5: Access is denied.\r\n\n";
constexpr const wchar_t* inUse =
    L"  -  Failed with error 32: The process cannot access the file because it is being used by another "
    L"process.\r\n\n";
constexpr const wchar_t* notEmpty = L"  -  Failed with error 145: The directory is not empty.\r\n\n";
constexpr const wchar_t* noPath =
    L"  -  Failed with error 3: The system cannot find the path specified.\r\n\n";
constexpr const wchar_t* noFile =
    L"  -  Failed with error 2: The system cannot find the file specified.\r\n\n";

using Texts = std::vector<std::wstring>;

class DirectoryRemoval : public launchertest::OnMachine {
protected:
    launchertest::Outcome outcome;
    std::wstring errors;

    // Runs a removal that writes its error text to `errors`.
    bool does(const std::function<bool(std::wstring&)>& removal) {
        bool result = false;
        outcome = run([&] { result = removal(errors); });
        return result;
    }
    bool removeContents(const std::wstring& path) {
        return does([&](std::wstring& text) { return removeDirectoryContents(path, text); });
    }
    bool removeWhole(const std::wstring& path) {
        return does([&](std::wstring& text) { return removeDirectory(path, text); });
    }
    bool removeMatching(const std::wstring& path, const std::wstring& name) {
        return does([&](std::wstring& text) { return removeMatchingFiles(path, name, text); });
    }
    bool walk(const std::wstring& path, const std::wstring& pattern, Subdirectories subdirectories) {
        return does([&](std::wstring& text) { return walkDirectory(path, pattern, text, subdirectories); });
    }

    // The operations that search or change directories, each as `operation argument`.
    Texts steps() const {
        Texts made;
        for (const simulation::Operation& operation : machine.operations()) {
            for (const std::string name : {"findFirst", "deleteFile", "removeDirectory", "moveFile"}) {
                if (operation.name == name) {
                    made.push_back(std::wstring(name.begin(), name.end()) + L" " + operation.argument);
                }
            }
        }
        return made;
    }
    std::size_t count(const std::string& operation) const {
        std::size_t calls = 0;
        for (const simulation::Operation& made : machine.operations()) {
            calls += made.name == operation ? 1U : 0U;
        }
        return calls;
    }
};

// --- Walks ------------------------------------------------------------------------------------------

TEST_F(DirectoryRemoval, WalkGoesDepthFirstEntryByEntry) {
    machine.writeFile(L"C:\\t\\a.txt", "");
    machine.writeFile(L"C:\\t\\b\\c.txt", "");
    machine.makeDirectory(L"C:\\t\\b\\d");
    machine.writeFile(L"C:\\t\\e.txt", "");
    EXPECT_TRUE(walk(L"C:\\t", L"*", Subdirectories::remove));
    const Texts expected = {
        L"findFirst C:\\t\\*",         L"deleteFile C:\\t\\a.txt",  L"findFirst C:\\t\\b\\*",
        L"deleteFile C:\\t\\b\\c.txt", L"findFirst C:\\t\\b\\d\\*", L"removeDirectory C:\\t\\b\\d",
        L"removeDirectory C:\\t\\b",   L"deleteFile C:\\t\\e.txt",
    };
    EXPECT_EQ(steps(), expected);
    EXPECT_TRUE(machine.tree(L"C:\\t").empty());
    EXPECT_TRUE(machine.isDirectory(L"C:\\t"));
    EXPECT_EQ(errors, L"");
    EXPECT_EQ(count("findClose"), count("findFirst"));
}

TEST_F(DirectoryRemoval, WalkCanKeepSubdirectories) {
    machine.writeFile(L"C:\\t\\a.txt", "");
    machine.writeFile(L"C:\\t\\b\\c\\d.txt", "");
    EXPECT_TRUE(walk(L"C:\\t", L"*", Subdirectories::keep));
    EXPECT_EQ(machine.tree(L"C:\\t"), (Texts{L"C:\\t\\b\\", L"C:\\t\\b\\c\\"}));
    EXPECT_EQ(count("removeDirectory"), 0U);
}

TEST_F(DirectoryRemoval, OnlyTheStarPatternDescends) {
    machine.writeFile(L"C:\\t\\a.txt", "");
    machine.writeFile(L"C:\\t\\a.txt.d\\a.txt", "");
    machine.writeFile(L"C:\\t\\b.log", "");
    EXPECT_TRUE(walk(L"C:\\t", L"*.txt*", Subdirectories::remove));
    EXPECT_EQ(machine.tree(L"C:\\t"),
              (Texts{L"C:\\t\\a.txt.d\\", L"C:\\t\\a.txt.d\\a.txt", L"C:\\t\\b.log"}));
    EXPECT_TRUE(walk(L"C:\\t", L"**", Subdirectories::remove));
    EXPECT_EQ(machine.tree(L"C:\\t"), (Texts{L"C:\\t\\a.txt.d\\", L"C:\\t\\a.txt.d\\a.txt"}));
}

TEST_F(DirectoryRemoval, WalkAddsASeparatorOnlyIfMissing) {
    machine.makeDirectory(L"C:\\t");
    walk(L"C:\\t", L"*", Subdirectories::remove);
    walk(L"C:\\t\\", L"*", Subdirectories::remove);
    walk(L"C:/t/", L"*", Subdirectories::remove);
    EXPECT_EQ(steps(), (Texts{L"findFirst C:\\t\\*", L"findFirst C:\\t\\*", L"findFirst C:/t/*"}));
}

TEST_F(DirectoryRemoval, WalkReportsFailuresAndContinues) {
    machine.writeFile(L"C:\\t\\a.txt", "");
    machine.writeFile(L"C:\\t\\b\\c.txt", "");
    machine.writeFile(L"C:\\t\\d.txt", "");
    machine.setAttributes(L"C:\\t\\a.txt", platform::attributeReadOnly);
    machine.holdOpen(L"C:\\t\\b\\c.txt");
    EXPECT_FALSE(walk(L"C:\\t", L"*", Subdirectories::remove));
    EXPECT_EQ(machine.tree(L"C:\\t"), (Texts{L"C:\\t\\a.txt", L"C:\\t\\b\\", L"C:\\t\\b\\c.txt"}));
    EXPECT_EQ(errors, std::wstring(L"Can't delete file C:\\t\\a.txt") + accessDenied +
                          L"Can't delete file C:\\t\\b\\c.txt" + inUse + L"Can't delete dir C:\\t\\b" +
                          notEmpty);
}

TEST_F(DirectoryRemoval, WalkAppendsToTheErrorText) {
    errors = L"before\n";
    EXPECT_FALSE(walk(L"C:\\gone", L"*", Subdirectories::remove));
    EXPECT_EQ(errors, std::wstring(L"before\nError in C:\\gone\\*") + noPath);
}

TEST_F(DirectoryRemoval, UnsearchableSubdirectoryIsStillRemoved) {
    machine.makeDirectory(L"C:\\t\\a");
    machine.writeFile(L"C:\\t\\b.txt", "");
    machine.inject(failing("findFirst", platform::errorAccessDenied, L"\\a\\*"));
    EXPECT_FALSE(walk(L"C:\\t", L"*", Subdirectories::remove));
    EXPECT_EQ(errors, std::wstring(L"Error in C:\\t\\a\\*") + accessDenied);
    EXPECT_TRUE(machine.tree(L"C:\\t").empty());
}

TEST_F(DirectoryRemoval, FailedSearchStepFailsTheWalk) {
    machine.makeDirectory(L"C:\\t");
    machine.inject(failing("findNext", platform::errorAccessDenied, L"", 2));
    EXPECT_FALSE(walk(L"C:\\t", L"*", Subdirectories::keep));
    EXPECT_EQ(errors, std::wstring(L"FindNextFile error ") + accessDenied);
    EXPECT_EQ(count("findClose"), 1U);
}

TEST_F(DirectoryRemoval, FailedSearchStepEndsOnlyItsDirectory) {
    machine.writeFile(L"C:\\t\\a\\a1.txt", "");
    machine.writeFile(L"C:\\t\\a\\a2.txt", "");
    machine.writeFile(L"C:\\t\\b.txt", "");
    // The outer search yields `..` and `a`, the inner one `..`, a1 and then a2, where it fails.
    machine.inject(failing("findNext", platform::errorAccessDenied, L"", 5));
    EXPECT_FALSE(walk(L"C:\\t", L"*", Subdirectories::remove));
    EXPECT_EQ(errors,
              std::wstring(L"FindNextFile error ") + accessDenied + L"Can't delete dir C:\\t\\a" + notEmpty);
    EXPECT_EQ(machine.tree(L"C:\\t"), (Texts{L"C:\\t\\a\\", L"C:\\t\\a\\a2.txt"}));
    EXPECT_EQ(count("findClose"), count("findFirst"));
}

TEST_F(DirectoryRemoval, FailedSearchStepAfterASubdirectoryFailsTheWalk) {
    machine.makeDirectory(L"C:\\t\\a");
    machine.writeFile(L"C:\\t\\b.txt", "");
    // After `..` and `a` of the outer search, and `..` and the end of the inner one.
    machine.inject(failing("findNext", platform::errorAccessDenied, L"", 5));
    EXPECT_FALSE(walk(L"C:\\t", L"*", Subdirectories::remove));
    EXPECT_EQ(errors, std::wstring(L"FindNextFile error ") + accessDenied);
    EXPECT_EQ(machine.tree(L"C:\\t"), (Texts{L"C:\\t\\b.txt"}));
}

TEST_F(DirectoryRemoval, DeepTreeIsRemoved) {
    std::wstring path = L"C:\\t";
    for (int level = 0; level < 200; ++level) {
        path += L"\\level";
    }
    machine.writeFile(path + L"\\file.txt", "");
    EXPECT_TRUE(removeWhole(L"C:\\t"));
    EXPECT_FALSE(machine.exists(L"C:\\t"));
    EXPECT_EQ(errors, L"");
    EXPECT_EQ(count("findClose"), count("findFirst"));
}

TEST_F(DirectoryRemoval, HundredThousandFilesAreRemoved) {
    for (int directory = 0; directory < 1000; ++directory) {
        for (int file = 0; file < 100; ++file) {
            machine.writeFile(L"C:\\t\\d" + std::to_wstring(directory) + L"\\f" + std::to_wstring(file), "x");
        }
    }
    EXPECT_TRUE(removeWhole(L"C:\\t"));
    EXPECT_FALSE(machine.exists(L"C:\\t"));
    EXPECT_EQ(count("deleteFile"), 100000U);
}

// --- Emptying a directory ---------------------------------------------------------------------------

TEST_F(DirectoryRemoval, EmptyingAnEmptyDirectorySucceedsAtOnce) {
    machine.makeDirectory(L"C:\\t");
    errors = L"before";
    EXPECT_TRUE(removeContents(L"C:\\t"));
    EXPECT_TRUE(machine.isDirectory(L"C:\\t"));
    EXPECT_EQ(errors, L"");
    EXPECT_EQ(count("findFirst"), 2U);
    EXPECT_EQ(machine.elapsedMilliseconds(), 0U);
    EXPECT_EQ(outcome.log, "");
}

TEST_F(DirectoryRemoval, EmptyingKeepsTheDirectoryItself) {
    machine.writeFile(L"C:\\t\\a.txt", "");
    machine.writeFile(L"C:\\t\\b\\c\\d.txt", "");
    machine.writeFile(L"C:\\other\\e.txt", "");
    EXPECT_TRUE(removeContents(L"C:/t"));
    EXPECT_TRUE(machine.isDirectory(L"C:\\t"));
    EXPECT_TRUE(machine.tree(L"C:\\t").empty());
    EXPECT_TRUE(machine.exists(L"C:\\other\\e.txt"));
    EXPECT_EQ(steps().front(), L"findFirst \\\\?\\C:\\t\\*");
    EXPECT_EQ(count("moveFile"), 0U);
}

TEST_F(DirectoryRemoval, MissingDirectoryIsAFailure) {
    EXPECT_FALSE(removeContents(L"C:\\gone"));
    EXPECT_EQ(errors, std::wstring(L"Error in \\\\?\\C:\\gone\\*") + noPath);
    EXPECT_EQ(machine.elapsedMilliseconds(), 0U);
    EXPECT_FALSE(removeWhole(L"C:\\gone"));
}

TEST_F(DirectoryRemoval, ReadOnlyFileKeepsAllSubdirectories) {
    machine.writeFile(L"C:\\t\\a.txt", "");
    machine.writeFile(L"C:\\t\\b\\c.txt", "");
    machine.makeDirectory(L"C:\\t\\d");
    machine.setAttributes(L"C:\\t\\b\\c.txt", platform::attributeReadOnly);
    EXPECT_FALSE(removeContents(L"C:\\t"));
    EXPECT_EQ(machine.tree(L"C:\\t"), (Texts{L"C:\\t\\b\\", L"C:\\t\\b\\c.txt", L"C:\\t\\d\\"}));
    EXPECT_EQ(errors, std::wstring(L"Can't delete file \\\\?\\C:\\t\\b\\c.txt") + accessDenied);
    EXPECT_EQ(count("removeDirectory"), 0U);
    EXPECT_EQ(machine.elapsedMilliseconds(), 0U);
    EXPECT_EQ(outcome.log, "");
}

TEST_F(DirectoryRemoval, FileDeletedByAnotherProcessIsAFailure) {
    machine.writeFile(L"C:\\t\\a.txt", "");
    machine.inject(failing("deleteFile", platform::errorFileNotFound, L"\\a.txt"));
    EXPECT_FALSE(removeContents(L"C:\\t"));
    EXPECT_EQ(errors, std::wstring(L"Can't delete file \\\\?\\C:\\t\\a.txt") + noFile);
}

TEST_F(DirectoryRemoval, SubdirectoryInUseIsTriedFiveTimes) {
    machine.writeFile(L"C:\\t\\a\\b.txt", "");
    machine.makeDirectory(L"C:\\t\\c");
    machine.holdOpen(L"C:\\t\\a");
    errors = L"before";
    EXPECT_FALSE(removeContents(L"C:\\t"));
    EXPECT_EQ(machine.elapsedMilliseconds(), 5000U);
    EXPECT_EQ(machine.tree(L"C:\\t"), Texts{L"C:\\t\\a\\"});
    EXPECT_EQ(errors, std::wstring(L"Can't delete dir \\\\?\\C:\\t\\a") + inUse);
    EXPECT_EQ(outcome.linesBeginningWith("removeDirectoryContents failed with error "), 5U);
    // Each log line contains the system's text with a line end of its own.
    EXPECT_EQ(std::count(outcome.log.begin(), outcome.log.end(), '\n'), 10);
}

TEST_F(DirectoryRemoval, FailedAttemptsAreLoggedOnlyInDebugRuns) {
    machine.makeDirectory(L"C:\\t\\a");
    machine.holdOpen(L"C:\\t\\a");
    outcome = runQuietly([&] { EXPECT_FALSE(removeDirectoryContents(L"C:\\t", errors)); });
    EXPECT_EQ(outcome.log, "");
    EXPECT_EQ(machine.elapsedMilliseconds(), 5000U);
}

TEST_F(DirectoryRemoval, SubdirectoryReleasedInTimeIsRemoved) {
    machine.makeDirectory(L"C:\\t\\a");
    machine.holdOpen(L"C:\\t\\a");
    machine.start({L"C:\\viewer.exe"}, [this] {
        platform::sleepMilliseconds(2500);
        machine.releaseOpen(L"C:\\t\\a");
        return 0;
    });
    EXPECT_TRUE(removeContents(L"C:\\t"));
    EXPECT_TRUE(machine.tree(L"C:\\t").empty());
    EXPECT_EQ(errors, L"");
    EXPECT_EQ(machine.elapsedMilliseconds(), 3000U);
    EXPECT_EQ(outcome.linesBeginningWith("removeDirectoryContents failed with error "), 3U);
}

// A deleted file keeps its directory until the scanner closes it.
TEST_F(DirectoryRemoval, FileHeldByAScannerDelaysTheRemoval) {
    machine.writeFile(L"C:\\t\\a\\b.txt", "");
    machine.holdOpen(L"C:\\t\\a\\b.txt", simulation::HeldSharing::everything);
    machine.start({L"C:\\scanner.exe"}, [this] {
        platform::sleepMilliseconds(2500);
        machine.releaseOpen(L"C:\\t\\a\\b.txt");
        return 0;
    });
    EXPECT_TRUE(removeContents(L"C:\\t"));
    EXPECT_TRUE(machine.tree(L"C:\\t").empty());
    EXPECT_EQ(errors, L"");
    EXPECT_EQ(machine.elapsedMilliseconds(), 3000U);
}

TEST_F(DirectoryRemoval, FileCreatedBetweenAttemptsIsDeletedToo) {
    machine.makeDirectory(L"C:\\t\\a");
    machine.holdOpen(L"C:\\t\\a");
    machine.start({L"C:\\viewer.exe"}, [this] {
        platform::sleepMilliseconds(500);
        machine.writeFile(L"C:\\t\\a\\late.txt", "");
        machine.releaseOpen(L"C:\\t\\a");
        return 0;
    });
    EXPECT_TRUE(removeContents(L"C:\\t"));
    EXPECT_TRUE(machine.tree(L"C:\\t").empty());
}

// --- Removing a directory ---------------------------------------------------------------------------

TEST_F(DirectoryRemoval, DirectoryIsRemovedWithItsContents) {
    machine.writeFile(L"C:\\t\\a.txt", "");
    machine.writeFile(L"C:\\t\\b\\c.txt", "");
    errors = L"before";
    EXPECT_TRUE(removeWhole(L"C:\\t"));
    EXPECT_FALSE(machine.exists(L"C:\\t"));
    EXPECT_EQ(errors, L"");
    EXPECT_EQ(outcome.log, "");
}

TEST_F(DirectoryRemoval, DirectoryWithAnUndeletableFileStays) {
    machine.writeFile(L"C:\\t\\a.txt", "");
    machine.holdOpen(L"C:\\t\\a.txt");
    EXPECT_FALSE(removeWhole(L"C:\\t"));
    EXPECT_EQ(errors, std::wstring(L"Can't delete file \\\\?\\C:\\t\\a.txt") + inUse);
    EXPECT_EQ(count("removeDirectory"), 0U);
}

TEST_F(DirectoryRemoval, DirectoryInUseIsTriedFiveTimesWithoutPause) {
    machine.writeFile(L"C:\\t\\a\\b.txt", "");
    machine.holdOpen(L"C:\\t");
    EXPECT_FALSE(removeWhole(L"C:/t"));
    EXPECT_EQ(machine.elapsedMilliseconds(), 0U);
    EXPECT_EQ(errors, std::wstring(L"Can't delete dir C:/t") + inUse);
    EXPECT_TRUE(machine.tree(L"C:\\t").empty());
    EXPECT_EQ(count("removeDirectory"), 1U + 5U);
    EXPECT_EQ(steps().back(), L"removeDirectory \\\\?\\C:\\t");
    EXPECT_EQ(outcome.log, "");
}

TEST_F(DirectoryRemoval, LaterSuccessLeavesNoErrorText) {
    machine.makeDirectory(L"C:\\t");
    machine.inject(failing("removeDirectory", platform::errorAccessDenied, L"\\t", 1));
    machine.inject(failing("removeDirectory", platform::errorAccessDenied, L"\\t", 2));
    EXPECT_TRUE(removeWhole(L"C:\\t"));
    EXPECT_FALSE(machine.exists(L"C:\\t"));
    EXPECT_EQ(errors, L"");
    EXPECT_EQ(count("removeDirectory"), 3U);
}

// --- Removing files by a part of their name ---------------------------------------------------------

TEST_F(DirectoryRemoval, MatchingFilesAreDeletedInThisDirectoryOnly) {
    for (const wchar_t* name : {L"cache_a.dat", L"my CACHE", L"cache", L"cach", L"other.txt"}) {
        machine.writeFile(std::wstring(L"C:\\t\\") + name, "");
    }
    machine.writeFile(L"C:\\t\\cache.d\\cache.txt", "");
    EXPECT_TRUE(removeMatching(L"C:/t", L"cache"));
    EXPECT_EQ(machine.tree(L"C:\\t"), (Texts{L"C:\\t\\cach", L"C:\\t\\cache.d\\",
                                             L"C:\\t\\cache.d\\cache.txt", L"C:\\t\\other.txt"}));
    EXPECT_EQ(errors, L"");
    EXPECT_EQ(steps().front(), L"findFirst \\\\?\\C:\\t\\*cache*");
}

TEST_F(DirectoryRemoval, UndeletableMatchIsTriedOnce) {
    machine.writeFile(L"C:\\t\\cache1", "");
    machine.writeFile(L"C:\\t\\cache2", "");
    machine.holdOpen(L"C:\\t\\cache1");
    EXPECT_FALSE(removeMatching(L"C:\\t", L"cache"));
    EXPECT_EQ(machine.tree(L"C:\\t"), Texts{L"C:\\t\\cache1"});
    EXPECT_EQ(errors, std::wstring(L"Can't delete file \\\\?\\C:\\t\\cache1") + inUse);
    EXPECT_EQ(count("deleteFile"), 2U);
    EXPECT_EQ(machine.elapsedMilliseconds(), 0U);
}

TEST_F(DirectoryRemoval, NoMatchingFileIsAFailure) {
    machine.writeFile(L"C:\\t\\other.txt", "");
    EXPECT_FALSE(removeMatching(L"C:\\t", L"cache"));
    EXPECT_EQ(errors, std::wstring(L"Error in \\\\?\\C:\\t\\*cache*") + noFile);
}

TEST_F(DirectoryRemoval, EmptyTextMatchesAllFilesWithoutDescending) {
    machine.writeFile(L"C:\\t\\a.txt", "");
    machine.writeFile(L"C:\\t\\b\\c.txt", "");
    EXPECT_TRUE(removeMatching(L"C:\\t", L""));
    EXPECT_EQ(machine.tree(L"C:\\t"), (Texts{L"C:\\t\\b\\", L"C:\\t\\b\\c.txt"}));
}

// --- Relative paths ---------------------------------------------------------------------------------

TEST_F(DirectoryRemoval, RelativePathIsFatal) {
    machine.writeFile(L"C:\\t\\a.txt", "");
    const std::vector<std::pair<const char*, std::function<void()>>> removals = {
        {"removeDirectoryContents", [this] { removeContents(L"t"); }},
        {"removeDirectory", [this] { removeWhole(L"t"); }},
        {"removeMatchingFiles", [this] { removeMatching(L"t", L"a"); }},
    };
    for (const auto& [name, removal] : removals) {
        SCOPED_TRACE(name);
        removal();
        EXPECT_TRUE(outcome.isFatal());
        EXPECT_EQ(outcome.log, "ZLNCH0140E: relative paths can not be converted to unicode path\n");
    }
    EXPECT_TRUE(machine.exists(L"C:\\t\\a.txt"));
}

}  // namespace
