#include "foundation/file_operations.h"

#include "platform/files.h"
#include "support/failing_allocation.h"
#include "support/launcher_fixture.h"

namespace {

using zellauncher::copyFileNoReplace;
using zellauncher::createDirectories;
using zellauncher::deleteFile;
using zellauncher::moveFile;

constexpr const char* relativeLine = "ZLNCH0140E: relative paths can not be converted to unicode path\n";

class FileOperations : public launchertest::OnMachine {
protected:
    launchertest::Outcome outcome;

    bool does(const std::function<bool()>& operation) {
        bool result = false;
        outcome = run([&] { result = operation(); });
        return result;
    }

    // First arguments of all calls of an operation, in order.
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

TEST_F(FileOperations, EveryMissingLevelIsMade) {
    machine.makeDirectory(L"C:\\a");
    EXPECT_TRUE(does([] { return createDirectories(L"C:/a\\b//c/d"); }));
    EXPECT_TRUE(machine.isDirectory(L"C:\\a\\b\\c\\d"));
    const std::vector<std::wstring> expected = {L"\\\\?\\C:", L"\\\\?\\C:\\a", L"\\\\?\\C:\\a\\b",
                                                L"\\\\?\\C:\\a\\b\\c", L"\\\\?\\C:\\a\\b\\c\\d"};
    EXPECT_EQ(argumentsOf("createDirectory"), expected);
    EXPECT_EQ(outcome.log, "");
}

TEST_F(FileOperations, ATrailingSeparatorMakesNoFurtherLevel) {
    EXPECT_TRUE(does([] { return createDirectories(L"C:\\a\\b\\"); }));
    EXPECT_EQ(argumentsOf("createDirectory").size(), 3U);
}

TEST_F(FileOperations, ADirectoryThatExistsIsAFailureAndStays) {
    machine.writeFile(L"C:\\a\\b\\file.txt", "kept");
    EXPECT_FALSE(does([] { return createDirectories(L"C:\\a\\b"); }));
    EXPECT_EQ(contentOf(L"C:\\a\\b\\file.txt"), "kept");
    EXPECT_FALSE(does([] { return createDirectories(L"C:\\"); }));
}

TEST_F(FileOperations, DirectoriesBeyondThePlainLimitAreMade) {
    const std::wstring deep = L"C:\\" + std::wstring(200, L'd') + L"\\" + std::wstring(200, L'e');
    EXPECT_TRUE(does([&] { return createDirectories(deep); }));
    EXPECT_TRUE(machine.isDirectory(deep));
}

TEST_F(FileOperations, FailuresOfUpperLevelsPassUnnoticed) {
    simulation::Fault fault;
    fault.operation = "createDirectory";
    fault.argumentEndsWith = L"\\b";
    machine.makeDirectory(L"C:\\a\\b");
    machine.inject(fault);
    EXPECT_TRUE(does([] { return createDirectories(L"C:\\a\\b\\c"); }));
    EXPECT_TRUE(machine.isDirectory(L"C:\\a\\b\\c"));
}

TEST_F(FileOperations, ALastLevelThatCannotBeMadeIsAFailure) {
    machine.makeDirectory(L"C:\\a");
    machine.refuse(L"C:\\a", platform::errorAccessDenied);
    EXPECT_FALSE(does([] { return createDirectories(L"C:\\a\\b"); }));
    machine.writeFile(L"C:\\file", "");
    EXPECT_FALSE(does([] { return createDirectories(L"C:\\file\\b"); }));
    EXPECT_FALSE(does([] { return createDirectories(L"Q:\\b"); }));
}

TEST_F(FileOperations, APathOfWhichNothingIsLeftNeedsNoDirectory) {
    EXPECT_TRUE(does([] { return createDirectories(L"C:\\.."); }));
    EXPECT_TRUE(argumentsOf("createDirectory").empty());
}

TEST_F(FileOperations, WithoutMemoryForTheLevelsTheStartEnds) {
    const std::wstring path = L"C:\\" + std::wstring(50000, L'x');
    // The copy of the path and its long form are the first three.
    for (const int nth : {4, 5}) {
        outcome = run([&] {
            const launchertest::FailingAllocation failing(50000, nth);
            createDirectories(path);
            ADD_FAILURE() << "went on without the memory";
        });
        EXPECT_TRUE(outcome.isFatal());
        EXPECT_TRUE(outcome.log.starts_with("ZLNCH0004E: newString malloc failed. "));
    }
    EXPECT_TRUE(argumentsOf("createDirectory").empty());
}

// --- copyFileNoReplace ------------------------------------------------------------------------------

TEST_F(FileOperations, ACopyHasTheContentAndTheSourceStays) {
    machine.writeFile(L"C:\\a\\source.txt", "text");
    machine.makeDirectory(L"C:\\b");
    EXPECT_TRUE(does([] { return copyFileNoReplace(L"C:/a\\source.txt", L"C:\\b/target.txt"); }));
    EXPECT_EQ(contentOf(L"C:\\b\\target.txt"), "text");
    EXPECT_EQ(contentOf(L"C:\\a\\source.txt"), "text");
    EXPECT_EQ(argumentsOf("copyFile"), std::vector<std::wstring>{L"C:/a\\source.txt"});
}

TEST_F(FileOperations, ACopyReplacesNothing) {
    machine.writeFile(L"C:\\a\\source.txt", "new");
    machine.writeFile(L"C:\\a\\target.txt", "old");
    EXPECT_FALSE(does([] { return copyFileNoReplace(L"C:\\a\\source.txt", L"C:\\a\\target.txt"); }));
    EXPECT_EQ(contentOf(L"C:\\a\\target.txt"), "old");
    EXPECT_FALSE(does([] { return copyFileNoReplace(L"C:\\a\\gone.txt", L"C:\\a\\other.txt"); }));
    EXPECT_FALSE(machine.exists(L"C:\\a\\other.txt"));
}

TEST_F(FileOperations, PathsOfACopyMayBeRelative) {
    machine.writeFile(L"C:\\a\\source.txt", "text");
    machine.setCurrentDirectory(L"C:\\a");
    EXPECT_TRUE(does([] { return copyFileNoReplace(L"source.txt", L"target.txt"); }));
    EXPECT_EQ(contentOf(L"C:\\a\\target.txt"), "text");
    EXPECT_EQ(outcome.log, "");
}

// --- bringToDevice ----------------------------------------------------------------------------------

TEST_F(FileOperations, WhatIsBroughtToTheDeviceSurvivesALossOfPower) {
    machine.writeFile(L"C:\\a\\source.txt", "text");
    does([] {
        copyFileNoReplace(L"C:\\a\\source.txt", L"C:\\a\\kept.txt");
        copyFileNoReplace(L"C:\\a\\source.txt", L"C:\\a\\lost.txt");
        zellauncher::bringToDevice(L"C:/a/kept.txt");
        return true;
    });
    machine.losePower();
    EXPECT_EQ(contentOf(L"C:\\a\\kept.txt"), "text");
    EXPECT_EQ(contentOf(L"C:\\a\\lost.txt"), "");
}

TEST_F(FileOperations, WhatCannotBeBroughtToTheDeviceStaysAsItIs) {
    machine.writeFile(L"C:\\a\\source.txt", "text");
    machine.setAttributes(L"C:\\a\\source.txt", platform::attributeReadOnly);
    does([] {
        zellauncher::bringToDevice(L"C:\\a\\source.txt");
        zellauncher::bringToDevice(L"C:\\a\\gone.txt");
        return true;
    });
    EXPECT_EQ(contentOf(L"C:\\a\\source.txt"), "text");
    EXPECT_FALSE(machine.exists(L"C:\\a\\gone.txt"));
    EXPECT_EQ(outcome.log, "");
}

// --- moveFile ---------------------------------------------------------------------------------------

TEST_F(FileOperations, AMoveRenamesFilesAndDirectories) {
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

TEST_F(FileOperations, AMoveReplacesNothingAndIsTriedOnce) {
    machine.writeFile(L"C:\\a\\source.txt", "new");
    machine.writeFile(L"C:\\a\\target.txt", "old");
    EXPECT_FALSE(does([] { return moveFile(L"C:\\a\\source.txt", L"C:\\a\\target.txt"); }));
    EXPECT_EQ(contentOf(L"C:\\a\\source.txt"), "new");
    EXPECT_EQ(contentOf(L"C:\\a\\target.txt"), "old");
    EXPECT_EQ(argumentsOf("moveFile").size(), 1U);
    EXPECT_EQ(machine.elapsedMilliseconds(), 0U);
}

TEST_F(FileOperations, AMoveWorksBeyondThePlainLimit) {
    const std::wstring directory = L"C:\\" + std::wstring(200, L'd');
    machine.writeFile(directory + L"\\" + std::wstring(200, L'e'), "text");
    EXPECT_TRUE(does([&] {
        return moveFile(directory + L"\\" + std::wstring(200, L'e'),
                        directory + L"\\" + std::wstring(200, L'f'));
    }));
    EXPECT_EQ(contentOf(directory + L"\\" + std::wstring(200, L'f')), "text");
}

// --- deleteFile -------------------------------------------------------------------------------------

TEST_F(FileOperations, AFileIsDeletedByWayOfAnotherName) {
    machine.writeFile(L"C:\\a\\file.txt", "text");
    EXPECT_TRUE(does([] { return deleteFile(L"C:/a/file.txt"); }));
    EXPECT_TRUE(machine.tree(L"C:\\a").empty());
    EXPECT_EQ(argumentsOf("moveFile"), std::vector<std::wstring>{L"\\\\?\\C:\\a\\file.txt"});
    EXPECT_EQ(argumentsOf("deleteFile"), std::vector<std::wstring>{L"\\\\?\\C:\\a\\file.txt.deleteme"});
}

TEST_F(FileOperations, AFileThatIsNotThereCannotBeDeleted) {
    EXPECT_FALSE(does([] { return deleteFile(L"C:\\a\\gone.txt"); }));
    EXPECT_EQ(outcome.log, "");
}

TEST_F(FileOperations, ALeftOverOfTheOtherNameIsDeletedInPlaceOfTheFile) {
    machine.writeFile(L"C:\\a\\file.txt", "new");
    machine.writeFile(L"C:\\a\\file.txt.deleteme", "old");
    EXPECT_TRUE(does([] { return deleteFile(L"C:\\a\\file.txt"); }));
    EXPECT_EQ(machine.tree(L"C:\\a"), std::vector<std::wstring>{L"C:\\a\\file.txt"});
    EXPECT_EQ(contentOf(L"C:\\a\\file.txt"), "new");
    EXPECT_TRUE(does([] { return deleteFile(L"C:\\a\\file.txt"); }));
    EXPECT_TRUE(machine.tree(L"C:\\a").empty());
}

TEST_F(FileOperations, ALeftOverIsDeletedAlsoWithoutTheFile) {
    machine.writeFile(L"C:\\a\\file.txt.deleteme", "old");
    EXPECT_TRUE(does([] { return deleteFile(L"C:\\a\\file.txt"); }));
    EXPECT_TRUE(machine.tree(L"C:\\a").empty());
}

TEST_F(FileOperations, AFileThatIsInUseStaysIntact) {
    machine.writeFile(L"C:\\a\\file.txt", "text");
    machine.holdOpen(L"C:\\a\\file.txt");
    EXPECT_FALSE(does([] { return deleteFile(L"C:\\a\\file.txt"); }));
    machine.releaseOpen(L"C:\\a\\file.txt");
    EXPECT_EQ(machine.tree(L"C:\\a"), std::vector<std::wstring>{L"C:\\a\\file.txt"});
    EXPECT_EQ(contentOf(L"C:\\a\\file.txt"), "text");
    EXPECT_EQ(machine.elapsedMilliseconds(), 0U);
}

TEST_F(FileOperations, AReadOnlyFileIsLeftUnderTheOtherName) {
    machine.writeFile(L"C:\\a\\file.txt", "text");
    machine.setAttributes(L"C:\\a\\file.txt", platform::attributeReadOnly);
    EXPECT_FALSE(does([] { return deleteFile(L"C:\\a\\file.txt"); }));
    EXPECT_EQ(machine.tree(L"C:\\a"), std::vector<std::wstring>{L"C:\\a\\file.txt.deleteme"});
}

// --- Relative paths ---------------------------------------------------------------------------------

TEST_F(FileOperations, ARelativePathEndsTheStartBeforeAnythingIsDone) {
    machine.writeFile(L"C:\\file.txt", "text");
    const std::vector<std::function<bool()>> operations = {
        [] { return createDirectories(L"a\\b"); },
        [] { return moveFile(L"file.txt", L"C:\\other.txt"); },
        [] { return moveFile(L"C:\\file.txt", L"other.txt"); },
        [] { return deleteFile(L"file.txt"); },
        [] { return deleteFile(L"\\\\server\\share\\file.txt"); },
    };
    for (const auto& operation : operations) {
        does(operation);
        EXPECT_TRUE(outcome.isFatal());
        EXPECT_EQ(outcome.log, relativeLine);
    }
    EXPECT_EQ(contentOf(L"C:\\file.txt"), "text");
    EXPECT_FALSE(machine.exists(L"C:\\a"));
}

}  // namespace
