#include "foundation/file_transfer.h"

#include <gtest/gtest.h>

#include "support/launcher_fixture.h"

namespace {

using zellauncher::Presence;
using zellauncher::Transfer;

class FileTransfer : public launchertest::OnMachine {
protected:
    launchertest::Outcome outcome;

    FileTransfer() {
        machine.makeDirectory(L"C:\\t");
        machine.makeDirectory(L"C:\\s");
    }
    void transfer(Transfer how, const std::wstring& name = L"f", Presence presence = Presence::optional) {
        outcome = run([&] { zellauncher::transferPath(L"C:/t", name, L"C:/s", name, presence, how); });
    }
    void expectFatal(const std::string& message) {
        EXPECT_TRUE(outcome.isFatal());
        EXPECT_EQ(outcome.lastLine(), message);
    }
    void fail(const std::string& operation, const std::wstring& ending) {
        simulation::Fault fault;
        fault.operation = operation;
        fault.argumentEndsWith = ending;
        machine.inject(fault);
    }
    // A directory that resists its removal.
    void makeStubborn(const std::wstring& directory) {
        machine.writeFile(directory + L"\\held", "");
        machine.setAttributes(directory + L"\\held", 1);
    }
};

TEST_F(FileTransfer, MovesOrCopiesAFile) {
    machine.writeFile(L"C:\\s\\f", "text");
    transfer(Transfer::copy);
    EXPECT_EQ(machine.readFile(L"C:\\t\\f"), "text");
    EXPECT_EQ(machine.readFile(L"C:\\s\\f"), "text");
    machine.writeFile(L"C:\\s\\f", "newer");
    transfer(Transfer::move);
    EXPECT_EQ(machine.readFile(L"C:\\t\\f"), "newer");
    EXPECT_FALSE(machine.exists(L"C:\\s\\f"));
    EXPECT_FALSE(machine.exists(L"C:\\t\\f.deleteme"));
}

// The source of a copy may be moved away next, and its copy then be the only one in its place.
TEST_F(FileTransfer, ACopySurvivesALossOfPower) {
    machine.writeFile(L"C:\\s\\f", "text");
    transfer(Transfer::copy);
    machine.losePower();
    EXPECT_EQ(machine.readFile(L"C:\\t\\f"), "text");
}

TEST_F(FileTransfer, AnAbsentOptionalSourceTouchesNothing) {
    machine.writeFile(L"C:\\t\\f", "kept");
    transfer(Transfer::move);
    EXPECT_EQ(outcome.log, "ZLNCH0110I: 'C:\\s\\f' not found\n");
    EXPECT_EQ(machine.readFile(L"C:\\t\\f"), "kept");
}

TEST_F(FileTransfer, AnAbsentRequiredSourceIsFatal) {
    transfer(Transfer::move, L"f", Presence::required);
    expectFatal("ZLNCH0109E: Unable to locate 'C:\\s\\f' for copying");
}

TEST_F(FileTransfer, AnOldFileThatCannotBeDeletedIsFatal) {
    machine.writeFile(L"C:\\s\\f", "text");
    machine.writeFile(L"C:\\t\\f", "old");
    machine.holdOpen(L"C:\\t\\f");
    transfer(Transfer::move);
    expectFatal("ZLNCH0111E: Can't delete old copy of file 'C:\\t\\f'");
    EXPECT_EQ(machine.readFile(L"C:\\s\\f"), "text");
}

TEST_F(FileTransfer, AnOldDirectoryGivesWay) {
    machine.writeFile(L"C:\\s\\d\\new", "");
    machine.writeFile(L"C:\\t\\d\\old", "");
    transfer(Transfer::move, L"d");
    EXPECT_TRUE(machine.exists(L"C:\\t\\d\\new"));
    EXPECT_EQ(machine.tree(L"C:\\t"), (std::vector<std::wstring>{L"C:\\t\\d\\", L"C:\\t\\d\\new"}));
}

TEST_F(FileTransfer, AStubbornDirectoryStaysUnderANumberedName) {
    machine.writeFile(L"C:\\s\\d\\new", "");
    makeStubborn(L"C:\\t\\d");
    transfer(Transfer::move, L"d");
    EXPECT_EQ(outcome.end.status, 0U);
    EXPECT_TRUE(machine.exists(L"C:\\t\\d\\new"));
    EXPECT_TRUE(machine.exists(L"C:\\t\\ddeleteme0001\\held"));
    machine.setAttributes(L"C:\\t\\ddeleteme0001\\held", 0);
    machine.writeFile(L"C:\\s\\d\\newer", "");
    transfer(Transfer::move, L"d");  // cleans up what resisted before
    EXPECT_EQ(machine.tree(L"C:\\t"), (std::vector<std::wstring>{L"C:\\t\\d\\", L"C:\\t\\d\\newer"}));
}

TEST_F(FileTransfer, TheLowestNumberThatWasFreeIsTaken) {
    machine.writeFile(L"C:\\s\\d\\new", "");
    makeStubborn(L"C:\\t\\d");
    makeStubborn(L"C:\\t\\ddeleteme0001");
    makeStubborn(L"C:\\t\\ddeleteme0003");
    transfer(Transfer::move, L"d");
    EXPECT_EQ(outcome.end.status, 0U);
    EXPECT_TRUE(machine.exists(L"C:\\t\\ddeleteme0002\\held"));
}

TEST_F(FileTransfer, WithAllFiveNamesTakenItIsFatal) {
    machine.writeFile(L"C:\\s\\d\\new", "");
    machine.writeFile(L"C:\\t\\d\\old", "");
    for (int number = 1; number <= 5; ++number) {
        makeStubborn(L"C:\\t\\ddeleteme000" + std::to_wstring(number));
    }
    transfer(Transfer::move, L"d");
    expectFatal("ZLNCH0112E: Can't move file/dir  'C:\\t\\d'");
    EXPECT_TRUE(machine.exists(L"C:\\t\\d\\old"));
    EXPECT_TRUE(machine.exists(L"C:\\s\\d\\new"));
}

TEST_F(FileTransfer, ATransferThatFailsIsFatal) {
    machine.writeFile(L"C:\\s\\f", "text");
    fail("moveFile", L"\\s\\f");
    transfer(Transfer::move);
    expectFatal("ZLNCH0141E: Can't move file/dir  'C:\\s\\f'");
    fail("copyFile", L"\\s\\f");
    transfer(Transfer::copy);
    expectFatal("ZLNCH0113E: Can't copy file  'C:\\s\\f'");
    machine.makeDirectory(L"C:\\s\\d");
    transfer(Transfer::copy, L"d");
    expectFatal("ZLNCH0113E: Can't copy file  'C:\\s\\d'");
}

TEST_F(FileTransfer, AWholeDirectoryTakesThePlaceOfAnother) {
    machine.writeFile(L"C:\\s\\new", "");
    machine.writeFile(L"C:\\t\\old", "");
    outcome = run([] { zellauncher::moveDirectoryReplacing(L"C:/t", L"C:/s", Presence::required); });
    EXPECT_EQ(machine.tree(L"C:\\t"), (std::vector<std::wstring>{L"C:\\t\\new"}));
    EXPECT_FALSE(machine.exists(L"C:\\s"));
}

}  // namespace
