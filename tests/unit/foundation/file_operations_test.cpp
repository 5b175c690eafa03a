#include "foundation/file_operations.h"

#include "platform/files.h"
#include "support/failing_allocation.h"
#include "support/faults.h"
#include "support/launcher_fixture.h"
#include "support/operations.h"

namespace {

using zellauncher::copyFileNoReplace;
using zellauncher::createDirectories;
using zellauncher::deleteFile;
using zellauncher::moveFile;

class FileOperations : public launchertest::OnMachine {
protected:
    launchertest::Outcome outcome;

    bool does(const std::function<bool()>& operation) {
        bool result = false;
        outcome = run([&] { result = operation(); });
        return result;
    }

    // The first arguments of all calls of an operation, in order.
    std::vector<std::wstring> argumentsOf(const std::string& operation) const {
        std::vector<std::wstring> arguments;
        for (const simulation::Operation& made : machine.operations()) {
            if (made.name == operation) {
                arguments.push_back(made.argument);
            }
        }
        return arguments;
    }

    std::string contentOf(const std::wstring& path) const {
        return machine.readFile(path).value_or("no file");
    }
};

// --- createDirectories ------------------------------------------------------------------------------

TEST_F(FileOperations, MissingLevelsAreCreated) {
    machine.makeDirectory(L"C:\\a");
    EXPECT_TRUE(does([] { return createDirectories(L"C:/a\\b//c/d"); }));
    EXPECT_TRUE(machine.isDirectory(L"C:\\a\\b\\c\\d"));
    const std::vector<std::wstring> expected = {L"\\\\?\\C:", L"\\\\?\\C:\\a", L"\\\\?\\C:\\a\\b",
                                                L"\\\\?\\C:\\a\\b\\c", L"\\\\?\\C:\\a\\b\\c\\d"};
    EXPECT_EQ(argumentsOf("createDirectory"), expected);
    EXPECT_EQ(outcome.log, "");
}

TEST_F(FileOperations, TrailingSeparatorAddsNoLevel) {
    EXPECT_TRUE(does([] { return createDirectories(L"C:\\a\\b\\"); }));
    EXPECT_EQ(argumentsOf("createDirectory").size(), 3U);
}

TEST_F(FileOperations, ExistingDirectoryIsAFailure) {
    machine.writeFile(L"C:\\a\\b\\file.txt", "kept");
    EXPECT_FALSE(does([] { return createDirectories(L"C:\\a\\b"); }));
    EXPECT_EQ(contentOf(L"C:\\a\\b\\file.txt"), "kept");
    EXPECT_FALSE(does([] { return createDirectories(L"C:\\"); }));
}

TEST_F(FileOperations, DirectoriesBeyond260CharactersAreCreated) {
    const std::wstring deep = L"C:\\" + std::wstring(200, L'd') + L"\\" + std::wstring(200, L'e');
    EXPECT_TRUE(does([&] { return createDirectories(deep); }));
    EXPECT_TRUE(machine.isDirectory(deep));
}

TEST_F(FileOperations, FailureOfAnUpperLevelIsIgnored) {
    machine.makeDirectory(L"C:\\a\\b");
    machine.inject(launchertest::failing("createDirectory", platform::errorAccessDenied, L"\\b"));
    EXPECT_TRUE(does([] { return createDirectories(L"C:\\a\\b\\c"); }));
    EXPECT_TRUE(machine.isDirectory(L"C:\\a\\b\\c"));
}

TEST_F(FileOperations, FailureOfTheLastLevelIsReported) {
    machine.makeDirectory(L"C:\\a");
    machine.refuse(L"C:\\a", platform::errorAccessDenied);
    EXPECT_FALSE(does([] { return createDirectories(L"C:\\a\\b"); }));
    machine.writeFile(L"C:\\file", "");
    EXPECT_FALSE(does([] { return createDirectories(L"C:\\file\\b"); }));
    EXPECT_FALSE(does([] { return createDirectories(L"Q:\\b"); }));
}

TEST_F(FileOperations, PathThatNormalisesToNothingCreatesNothing) {
    EXPECT_TRUE(does([] { return createDirectories(L"C:\\.."); }));
    EXPECT_TRUE(argumentsOf("createDirectory").empty());
}

TEST_F(FileOperations, CreatingDirectoriesWithoutMemoryIsFatal) {
    const std::wstring path = L"C:\\" + std::wstring(50000, L'x');
    // The first two allocations are those of toLongPath.
    for (const int nth : {3, 4}) {
        SCOPED_TRACE(nth);
        outcome = run([&] {
            const launchertest::FailingAllocation failing(50000, nth);
            createDirectories(path);
            ADD_FAILURE() << "continued without the memory";
        });
        EXPECT_TRUE(outcome.isFatal());
        EXPECT_TRUE(outcome.log.starts_with("ZLNCH0004E: newString malloc failed. "));
    }
    EXPECT_TRUE(argumentsOf("createDirectory").empty());
}

// --- copyFileNoReplace ------------------------------------------------------------------------------

TEST_F(FileOperations, CopyKeepsTheSource) {
    machine.writeFile(L"C:\\a\\source.txt", "text");
    machine.makeDirectory(L"C:\\b");
    EXPECT_TRUE(does([] { return copyFileNoReplace(L"C:/a\\source.txt", L"C:\\b/target.txt"); }));
    EXPECT_EQ(contentOf(L"C:\\b\\target.txt"), "text");
    EXPECT_EQ(contentOf(L"C:\\a\\source.txt"), "text");
    EXPECT_EQ(argumentsOf("copyFile"), std::vector<std::wstring>{L"C:/a\\source.txt"});
}

TEST_F(FileOperations, CopyReplacesNothing) {
    machine.writeFile(L"C:\\a\\source.txt", "new");
    machine.writeFile(L"C:\\a\\target.txt", "old");
    EXPECT_FALSE(does([] { return copyFileNoReplace(L"C:\\a\\source.txt", L"C:\\a\\target.txt"); }));
    EXPECT_EQ(contentOf(L"C:\\a\\target.txt"), "old");
    EXPECT_FALSE(does([] { return copyFileNoReplace(L"C:\\a\\gone.txt", L"C:\\a\\other.txt"); }));
    EXPECT_FALSE(machine.exists(L"C:\\a\\other.txt"));
}

TEST_F(FileOperations, CopyOfAReadOnlyFileIsWritable) {
    machine.writeFile(L"C:\\a\\source.txt", "text");
    machine.setAttributes(L"C:\\a\\source.txt", platform::attributeReadOnly | platform::attributeHidden);
    EXPECT_TRUE(does([] { return copyFileNoReplace(L"C:\\a\\source.txt", L"C:\\a\\target.txt"); }));
    EXPECT_EQ(machine.attributes(L"C:\\a\\target.txt"), platform::attributeHidden);
    EXPECT_EQ(machine.attributes(L"C:\\a\\source.txt"),
              platform::attributeReadOnly | platform::attributeHidden);
}

TEST_F(FileOperations, WritableCopyKeepsItsAttributes) {
    machine.writeFile(L"C:\\a\\source.txt", "text");
    EXPECT_TRUE(does([] { return copyFileNoReplace(L"C:\\a\\source.txt", L"C:\\a\\target.txt"); }));
    EXPECT_TRUE(argumentsOf("setFileAttributes").empty());
}

TEST_F(FileOperations, CopyThatStaysReadOnlyIsACopy) {
    for (const char* operation : {"fileAttributes", "setFileAttributes"}) {
        machine.remove(L"C:\\a");
        machine.writeFile(L"C:\\a\\source.txt", "text");
        machine.setAttributes(L"C:\\a\\source.txt", platform::attributeReadOnly);
        machine.inject(launchertest::failing(operation, platform::errorAccessDenied, L"target.txt"));
        EXPECT_TRUE(does([] { return copyFileNoReplace(L"C:\\a\\source.txt", L"C:\\a\\target.txt"); }));
        EXPECT_EQ(contentOf(L"C:\\a\\target.txt"), "text") << operation;
    }
}

TEST_F(FileOperations, CopyAcceptsRelativePaths) {
    machine.writeFile(L"C:\\a\\source.txt", "text");
    machine.setCurrentDirectory(L"C:\\a");
    EXPECT_TRUE(does([] { return copyFileNoReplace(L"source.txt", L"target.txt"); }));
    EXPECT_EQ(contentOf(L"C:\\a\\target.txt"), "text");
    EXPECT_EQ(outcome.log, "");
}

// --- bringToDevice ----------------------------------------------------------------------------------

TEST_F(FileOperations, FlushedFileSurvivesAPowerLoss) {
    machine.writeFile(L"C:\\a\\source.txt", "text");
    run([] {
        copyFileNoReplace(L"C:\\a\\source.txt", L"C:\\a\\kept.txt");
        copyFileNoReplace(L"C:\\a\\source.txt", L"C:\\a\\lost.txt");
        zellauncher::bringToDevice(L"C:/a/kept.txt");
    });
    machine.losePower();
    EXPECT_EQ(contentOf(L"C:\\a\\kept.txt"), "text");
    EXPECT_EQ(contentOf(L"C:\\a\\lost.txt"), "");
}

TEST_F(FileOperations, FailedFlushChangesNothing) {
    machine.writeFile(L"C:\\a\\source.txt", "text");
    machine.setAttributes(L"C:\\a\\source.txt", platform::attributeReadOnly);
    outcome = run([] {
        zellauncher::bringToDevice(L"C:\\a\\source.txt");
        zellauncher::bringToDevice(L"C:\\a\\gone.txt");
    });
    EXPECT_EQ(contentOf(L"C:\\a\\source.txt"), "text");
    EXPECT_FALSE(machine.exists(L"C:\\a\\gone.txt"));
    EXPECT_EQ(outcome.log, "");
}

// --- moveFile ---------------------------------------------------------------------------------------

TEST_F(FileOperations, MoveRenamesFilesAndDirectories) {
    machine.writeFile(L"C:\\a\\source.txt", "text");
    machine.makeDirectory(L"C:\\b");
    EXPECT_TRUE(does([] { return moveFile(L"C:/a/source.txt", L"C:/b/target.txt"); }));
    EXPECT_EQ(contentOf(L"C:\\b\\target.txt"), "text");
    EXPECT_FALSE(machine.exists(L"C:\\a\\source.txt"));
    EXPECT_TRUE(does([] { return moveFile(L"C:\\b", L"C:\\a\\c"); }));
    EXPECT_EQ(contentOf(L"C:\\a\\c\\target.txt"), "text");
    EXPECT_EQ(argumentsOf("moveFile"),
              (std::vector<std::wstring>{L"\\\\?\\C:\\a\\source.txt", L"\\\\?\\C:\\b"}));
}

// Neither MOVEFILE_REPLACE_EXISTING nor MOVEFILE_COPY_ALLOWED.
TEST_F(FileOperations, MoveWaitsForTheDeviceAndAsksForNothingElse) {
    machine.writeFile(L"C:\\a\\source.txt", "text");
    EXPECT_TRUE(does([] { return moveFile(L"C:\\a\\source.txt", L"C:\\a\\target.txt"); }));
    EXPECT_EQ(launchertest::callsOf(machine, "moveFile").at(0).numbers[0], 8U);
}

TEST_F(FileOperations, MoveReplacesNothingAndIsTriedOnce) {
    machine.writeFile(L"C:\\a\\source.txt", "new");
    machine.writeFile(L"C:\\a\\target.txt", "old");
    EXPECT_FALSE(does([] { return moveFile(L"C:\\a\\source.txt", L"C:\\a\\target.txt"); }));
    EXPECT_EQ(contentOf(L"C:\\a\\source.txt"), "new");
    EXPECT_EQ(contentOf(L"C:\\a\\target.txt"), "old");
    EXPECT_EQ(argumentsOf("moveFile").size(), 1U);
    EXPECT_EQ(machine.elapsedMilliseconds(), 0U);
}

TEST_F(FileOperations, MoveAcceptsPathsBeyond260Characters) {
    const std::wstring directory = L"C:\\" + std::wstring(200, L'd');
    machine.writeFile(directory + L"\\" + std::wstring(200, L'e'), "text");
    EXPECT_TRUE(does([&] {
        return moveFile(directory + L"\\" + std::wstring(200, L'e'),
                        directory + L"\\" + std::wstring(200, L'f'));
    }));
    EXPECT_EQ(contentOf(directory + L"\\" + std::wstring(200, L'f')), "text");
}

// --- deleteFile -------------------------------------------------------------------------------------

TEST_F(FileOperations, FileIsRenamedBeforeItIsDeleted) {
    machine.writeFile(L"C:\\a\\file.txt", "text");
    EXPECT_TRUE(does([] { return deleteFile(L"C:/a/file.txt"); }));
    EXPECT_TRUE(machine.tree(L"C:\\a").empty());
    EXPECT_EQ(argumentsOf("moveFile"), std::vector<std::wstring>{L"\\\\?\\C:\\a\\file.txt"});
    EXPECT_EQ(argumentsOf("deleteFile"), std::vector<std::wstring>{L"\\\\?\\C:\\a\\file.txt.deleteme"});
}

TEST_F(FileOperations, DeletingAMissingFileFails) {
    EXPECT_FALSE(does([] { return deleteFile(L"C:\\a\\gone.txt"); }));
    EXPECT_EQ(outcome.log, "");
}

TEST_F(FileOperations, LeftoverIsDeletedInsteadOfTheFile) {
    machine.writeFile(L"C:\\a\\file.txt", "new");
    machine.writeFile(L"C:\\a\\file.txt.deleteme", "old");
    EXPECT_TRUE(does([] { return deleteFile(L"C:\\a\\file.txt"); }));
    EXPECT_EQ(machine.tree(L"C:\\a"), std::vector<std::wstring>{L"C:\\a\\file.txt"});
    EXPECT_EQ(contentOf(L"C:\\a\\file.txt"), "new");
    EXPECT_TRUE(does([] { return deleteFile(L"C:\\a\\file.txt"); }));
    EXPECT_TRUE(machine.tree(L"C:\\a").empty());
}

TEST_F(FileOperations, LeftoverIsDeletedEvenWithoutTheFile) {
    machine.writeFile(L"C:\\a\\file.txt.deleteme", "old");
    EXPECT_TRUE(does([] { return deleteFile(L"C:\\a\\file.txt"); }));
    EXPECT_TRUE(machine.tree(L"C:\\a").empty());
}

TEST_F(FileOperations, FileInUseStaysIntact) {
    machine.writeFile(L"C:\\a\\file.txt", "text");
    machine.holdOpen(L"C:\\a\\file.txt");
    EXPECT_FALSE(does([] { return deleteFile(L"C:\\a\\file.txt"); }));
    machine.releaseOpen(L"C:\\a\\file.txt");
    EXPECT_EQ(machine.tree(L"C:\\a"), std::vector<std::wstring>{L"C:\\a\\file.txt"});
    EXPECT_EQ(contentOf(L"C:\\a\\file.txt"), "text");
    EXPECT_EQ(machine.elapsedMilliseconds(), 0U);
}

TEST_F(FileOperations, FileHeldByAScannerIsGoneAtOnce) {
    machine.writeFile(L"C:\\a\\file.txt", "text");
    machine.holdOpen(L"C:\\a\\file.txt", simulation::HeldSharing::everything);
    EXPECT_TRUE(does([] { return deleteFile(L"C:\\a\\file.txt"); }));
    EXPECT_EQ(machine.tree(L"C:\\a"), std::vector<std::wstring>{L"C:\\a\\file.txt.deleteme"});
    machine.releaseOpen(L"C:\\a\\file.txt");
    EXPECT_TRUE(machine.tree(L"C:\\a").empty());
}

TEST_F(FileOperations, TemporaryNameHeldByAScannerBlocksTheNextDeletion) {
    machine.writeFile(L"C:\\a\\file.txt", "text");
    machine.holdOpen(L"C:\\a\\file.txt", simulation::HeldSharing::everything);
    EXPECT_TRUE(does([] { return deleteFile(L"C:\\a\\file.txt"); }));
    machine.writeFile(L"C:\\a\\file.txt", "new");
    EXPECT_FALSE(does([] { return deleteFile(L"C:\\a\\file.txt"); }));
    EXPECT_EQ(contentOf(L"C:\\a\\file.txt"), "new");
    machine.releaseOpen(L"C:\\a\\file.txt");
    EXPECT_TRUE(does([] { return deleteFile(L"C:\\a\\file.txt"); }));
    EXPECT_TRUE(machine.tree(L"C:\\a").empty());
}

TEST_F(FileOperations, ReadOnlyFileKeepsTheTemporaryName) {
    machine.writeFile(L"C:\\a\\file.txt", "text");
    machine.setAttributes(L"C:\\a\\file.txt", platform::attributeReadOnly);
    EXPECT_FALSE(does([] { return deleteFile(L"C:\\a\\file.txt"); }));
    EXPECT_EQ(machine.tree(L"C:\\a"), std::vector<std::wstring>{L"C:\\a\\file.txt.deleteme"});
}

// --- Relative paths ---------------------------------------------------------------------------------

TEST_F(FileOperations, RelativePathIsFatal) {
    machine.writeFile(L"C:\\file.txt", "text");
    const std::vector<std::pair<const char*, std::function<bool()>>> operations = {
        {"createDirectories", [] { return createDirectories(L"a\\b"); }},
        {"moveFile, source", [] { return moveFile(L"file.txt", L"C:\\other.txt"); }},
        {"moveFile, target", [] { return moveFile(L"C:\\file.txt", L"other.txt"); }},
        {"deleteFile", [] { return deleteFile(L"file.txt"); }},
        {"deleteFile, share", [] { return deleteFile(L"\\\\server\\share\\file.txt"); }},
    };
    for (const auto& [name, operation] : operations) {
        SCOPED_TRACE(name);
        does(operation);
        EXPECT_TRUE(outcome.isFatal());
        EXPECT_EQ(outcome.log, "ZLNCH0140E: relative paths can not be converted to unicode path\n");
    }
    EXPECT_EQ(contentOf(L"C:\\file.txt"), "text");
    EXPECT_FALSE(machine.exists(L"C:\\a"));
}

}  // namespace
