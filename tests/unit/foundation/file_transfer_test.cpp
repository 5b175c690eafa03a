#include "foundation/file_transfer.h"

#include <gtest/gtest.h>

#include "platform/files.h"
#include "support/faults.h"
#include "support/launcher_fixture.h"
#include "support/operations.h"

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
    // Creates a directory that cannot be removed because it contains a read-only file.
    void makeUndeletable(const std::wstring& directory) {
        machine.writeFile(directory + L"\\held", "");
        machine.setAttributes(directory + L"\\held", platform::attributeReadOnly);
    }
};

TEST_F(FileTransfer, FileIsCopiedOrMoved) {
    machine.writeFile(L"C:\\s\\f", "text");
    transfer(Transfer::copy);
    EXPECT_EQ(machine.readFile(L"C:\\t\\f"), "text");
    EXPECT_EQ(machine.readFile(L"C:\\s\\f"), "text");
    machine.writeFile(L"C:\\s\\f", "newer");
    const std::size_t flushes = launchertest::callsOf(machine, "flushFile").size();
    transfer(Transfer::move);
    EXPECT_EQ(launchertest::callsOf(machine, "flushFile").size(), flushes);
    EXPECT_EQ(machine.readFile(L"C:\\t\\f"), "newer");
    EXPECT_FALSE(machine.exists(L"C:\\s\\f"));
    EXPECT_FALSE(machine.exists(L"C:\\t\\f.deleteme"));
}

// Only the leftover is deleted then, not the target.
TEST_F(FileTransfer, LeftoverOfADeletedTargetIsFatalOnce) {
    const std::string messages[] = {"ZLNCH0141E: Can't move file/dir  'C:\\s\\f'",
                                    "ZLNCH0113E: Can't copy file  'C:\\s\\f'"};
    for (const Transfer how : {Transfer::move, Transfer::copy}) {
        machine.writeFile(L"C:\\s\\f", "new");
        machine.writeFile(L"C:\\t\\f", "old");
        machine.writeFile(L"C:\\t\\f.deleteme", "older");
        transfer(how);
        outcome.expectFatal(messages[how == Transfer::move ? 0 : 1]);
        EXPECT_EQ(machine.tree(L"C:\\t"), std::vector<std::wstring>{L"C:\\t\\f"});
        EXPECT_EQ(machine.readFile(L"C:\\t\\f"), "old");
        transfer(how);
        EXPECT_EQ(machine.tree(L"C:\\t"), std::vector<std::wstring>{L"C:\\t\\f"});
        EXPECT_EQ(machine.readFile(L"C:\\t\\f"), "new");
    }
}

// Callers may move the source away next, so the copy must already be on the device.
TEST_F(FileTransfer, CopySurvivesAPowerLoss) {
    machine.writeFile(L"C:\\s\\f", "text");
    transfer(Transfer::copy);
    machine.losePower();
    EXPECT_EQ(machine.readFile(L"C:\\t\\f"), "text");
}

TEST_F(FileTransfer, MissingOptionalSourceTouchesNothing) {
    machine.writeFile(L"C:\\t\\f", "kept");
    transfer(Transfer::move);
    EXPECT_EQ(outcome.log, "ZLNCH0110I: 'C:\\s\\f' not found\n");
    EXPECT_EQ(machine.readFile(L"C:\\t\\f"), "kept");
}

TEST_F(FileTransfer, MissingRequiredSourceIsFatal) {
    transfer(Transfer::move, L"f", Presence::required);
    outcome.expectFatal("ZLNCH0109E: Unable to locate 'C:\\s\\f' for copying");
}

TEST_F(FileTransfer, UndeletableOldFileIsFatal) {
    machine.writeFile(L"C:\\s\\f", "text");
    machine.writeFile(L"C:\\t\\f", "old");
    machine.holdOpen(L"C:\\t\\f");
    transfer(Transfer::move);
    outcome.expectFatal("ZLNCH0111E: Can't delete old copy of file 'C:\\t\\f'");
    EXPECT_EQ(machine.readFile(L"C:\\s\\f"), "text");
}

TEST_F(FileTransfer, OldDirectoryIsReplaced) {
    machine.writeFile(L"C:\\s\\d\\new", "");
    machine.writeFile(L"C:\\t\\d\\old", "");
    transfer(Transfer::move, L"d");
    EXPECT_TRUE(machine.exists(L"C:\\t\\d\\new"));
    EXPECT_EQ(machine.tree(L"C:\\t"), (std::vector<std::wstring>{L"C:\\t\\d\\", L"C:\\t\\d\\new"}));
}

TEST_F(FileTransfer, UndeletableOldDirectoryIsMovedAside) {
    machine.writeFile(L"C:\\s\\d\\new", "");
    makeUndeletable(L"C:\\t\\d");
    transfer(Transfer::move, L"d");
    EXPECT_EQ(outcome.processEnd().status, 0U);
    EXPECT_TRUE(machine.exists(L"C:\\t\\d\\new"));
    EXPECT_TRUE(machine.exists(L"C:\\t\\ddeleteme0001\\held"));
    machine.setAttributes(L"C:\\t\\ddeleteme0001\\held", platform::attributeNormal);
    machine.writeFile(L"C:\\s\\d\\newer", "");
    transfer(Transfer::move, L"d");  // removes the numbered directory too
    EXPECT_EQ(machine.tree(L"C:\\t"), (std::vector<std::wstring>{L"C:\\t\\d\\", L"C:\\t\\d\\newer"}));
}

TEST_F(FileTransfer, LowestFreeNumberIsUsed) {
    machine.writeFile(L"C:\\s\\d\\new", "");
    makeUndeletable(L"C:\\t\\d");
    makeUndeletable(L"C:\\t\\ddeleteme0001");
    makeUndeletable(L"C:\\t\\ddeleteme0003");
    transfer(Transfer::move, L"d");
    EXPECT_EQ(outcome.processEnd().status, 0U);
    EXPECT_TRUE(machine.exists(L"C:\\t\\ddeleteme0002\\held"));
}

TEST_F(FileTransfer, FifthNumberIsTheLast) {
    machine.writeFile(L"C:\\s\\d\\new", "");
    makeUndeletable(L"C:\\t\\d");
    for (const wchar_t* taken : {L"1", L"2", L"3", L"4"}) {
        makeUndeletable(std::wstring(L"C:\\t\\ddeleteme000") + taken);
    }
    transfer(Transfer::move, L"d");
    EXPECT_EQ(outcome.processEnd().status, 0U);
    EXPECT_TRUE(machine.exists(L"C:\\t\\ddeleteme0005\\held"));
}

TEST_F(FileTransfer, FiveTakenNumbersAreFatal) {
    machine.writeFile(L"C:\\s\\d\\new", "");
    machine.writeFile(L"C:\\t\\d\\old", "");
    for (int number = 1; number <= 5; ++number) {
        makeUndeletable(L"C:\\t\\ddeleteme000" + std::to_wstring(number));
    }
    transfer(Transfer::move, L"d");
    outcome.expectFatal("ZLNCH0112E: Can't move file/dir  'C:\\t\\d'");
    EXPECT_TRUE(machine.exists(L"C:\\t\\d\\old"));
    EXPECT_TRUE(machine.exists(L"C:\\s\\d\\new"));
}

// All five numbers are free after that.
TEST_F(FileTransfer, FirstNumberIsUsedIfAllLeftoversCanBeRemoved) {
    machine.writeFile(L"C:\\s\\d\\new", "");
    makeUndeletable(L"C:\\t\\d");
    for (int number = 1; number <= 5; ++number) {
        machine.writeFile(L"C:\\t\\ddeleteme000" + std::to_wstring(number) + L"\\old", "");
    }
    transfer(Transfer::move, L"d");
    EXPECT_EQ(outcome.processEnd().status, 0U);
    EXPECT_EQ(machine.tree(L"C:\\t"),
              (std::vector<std::wstring>{L"C:\\t\\d\\", L"C:\\t\\d\\new", L"C:\\t\\ddeleteme0001\\",
                                         L"C:\\t\\ddeleteme0001\\held"}));
}

TEST_F(FileTransfer, FailedTransferIsFatal) {
    machine.writeFile(L"C:\\s\\f", "text");
    machine.inject(launchertest::failing("moveFile", platform::errorAccessDenied, L"\\s\\f"));
    transfer(Transfer::move);
    outcome.expectFatal("ZLNCH0141E: Can't move file/dir  'C:\\s\\f'");
    machine.inject(launchertest::failing("copyFile", platform::errorAccessDenied, L"\\s\\f"));
    transfer(Transfer::copy);
    outcome.expectFatal("ZLNCH0113E: Can't copy file  'C:\\s\\f'");
    machine.makeDirectory(L"C:\\s\\d");
    transfer(Transfer::copy, L"d");
    outcome.expectFatal("ZLNCH0113E: Can't copy file  'C:\\s\\d'");
}

TEST_F(FileTransfer, DirectoryReplacesAnother) {
    machine.writeFile(L"C:\\s\\new", "");
    machine.writeFile(L"C:\\t\\old", "");
    outcome = run([] { zellauncher::moveDirectoryReplacing(L"C:/t", L"C:/s", Presence::required); });
    EXPECT_EQ(machine.tree(L"C:\\t"), (std::vector<std::wstring>{L"C:\\t\\new"}));
    EXPECT_FALSE(machine.exists(L"C:\\s"));
}

}  // namespace
