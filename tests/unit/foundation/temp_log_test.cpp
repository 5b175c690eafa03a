#include "foundation/temp_log.h"

#include "foundation/log_channel.h"
#include "support/faults.h"
#include "support/launcher_fixture.h"
#include "support/operations.h"
#include "support/text.h"

namespace {

class TempLog : public launchertest::OnMachine {
protected:
    launchertest::Outcome clean(const std::wstring& name) {
        return run([&] {
            zellauncher::setLogFileName(name);
            zellauncher::removeTempLog();
        });
    }
};

TEST_F(TempLog, LogOfAnEarlierFailedStartIsDeleted) {
    machine.writeFile(L"C:\\Temp\\zellauncher.log", "old");
    machine.writeFile(L"C:\\Temp\\dcommand.log", "other");
    const auto outcome = clean(L"zellauncher.log");
    EXPECT_FALSE(machine.exists(L"C:\\Temp\\zellauncher.log"));
    EXPECT_TRUE(machine.exists(L"C:\\Temp\\dcommand.log"));
    EXPECT_EQ(outcome.log, "");
}

TEST_F(TempLog, CommandOnlyStartDeletesItsOwnLog) {
    machine.writeFile(L"C:\\Temp\\zellauncher.log", "other");
    machine.writeFile(L"C:\\Temp\\dcommand.log", "old");
    clean(L"dcommand.log");
    EXPECT_TRUE(machine.exists(L"C:\\Temp\\zellauncher.log"));
    EXPECT_FALSE(machine.exists(L"C:\\Temp\\dcommand.log"));
}

TEST_F(TempLog, TempMayHaveForwardSlashes) {
    machine.setEnvironment(L"TEMP", L"C:/Temp/mine");
    machine.writeFile(L"C:\\Temp\\mine\\zellauncher.log", "old");
    clean(L"zellauncher.log");
    EXPECT_FALSE(machine.exists(L"C:\\Temp\\mine\\zellauncher.log"));
    for (const simulation::Operation& made : machine.operations()) {
        if (made.name == "fileAttributes") {
            EXPECT_EQ(made.argument, L"C:\\Temp\\mine\\zellauncher.log");
        }
    }
}

TEST_F(TempLog, WithoutALeftoverNothingIsDeleted) {
    const auto outcome = clean(L"zellauncher.log");
    EXPECT_EQ(outcome.processEnd().status, 0U);
    for (const simulation::Operation& made : machine.operations()) {
        EXPECT_NE(made.name, "moveFile");
        EXPECT_NE(made.name, "deleteFile");
    }
}

TEST_F(TempLog, UndeletableLeftoverIsIgnored) {
    machine.writeFile(L"C:\\Temp\\zellauncher.log", "old");
    machine.holdOpen(L"C:\\Temp\\zellauncher.log");
    const auto outcome = clean(L"zellauncher.log");
    EXPECT_TRUE(machine.exists(L"C:\\Temp\\zellauncher.log"));
    EXPECT_EQ(outcome.processEnd().status, 0U);
    EXPECT_EQ(outcome.log, "");
}

TEST_F(TempLog, MissingTempVariableIsOnlyLogged) {
    machine.unsetEnvironment(L"TEMP");
    const auto outcome = clean(L"zellauncher.log");
    EXPECT_EQ(outcome.processEnd().status, 0U);
    EXPECT_EQ(outcome.log,
              "ZLNCH0081I:  Environmental variable 'TEMP' is not set\n"
              "ZLNCH0136E: Couldn't find the TEMP system variable!\n");
    EXPECT_EQ(machine.operations().back().argument, L"\\zellauncher.log");
}

TEST_F(TempLog, LeftoverInTheDriveRootIsDeletedWithoutTemp) {
    machine.unsetEnvironment(L"TEMP");
    machine.writeFile(L"C:\\zellauncher.log", "old");
    EXPECT_EQ(clean(L"zellauncher.log").processEnd().status, 0U);
    EXPECT_FALSE(machine.exists(L"C:\\zellauncher.log"));
}

TEST_F(TempLog, TempMayLackADrive) {
    machine.setCurrentDirectory(L"D:\\work");
    const std::pair<std::wstring, std::wstring> cases[] = {{L"\\T", L"D:\\T\\zellauncher.log"},
                                                           {L"mine/..\\T", L"D:\\work\\T\\zellauncher.log"},
                                                           {L"C:T", L"C:\\T\\zellauncher.log"}};
    for (const auto& [temp, leftover] : cases) {
        machine.setEnvironment(L"TEMP", temp);
        machine.writeFile(leftover, "old");
        EXPECT_EQ(clean(L"zellauncher.log").processEnd().status, 0U);
        EXPECT_FALSE(machine.exists(leftover)) << launchertest::toUtf8(leftover);
    }
}

TEST_F(TempLog, TempMayBeAShare) {
    machine.setEnvironment(L"TEMP", L"\\\\localhost\\C$\\Temp");
    machine.writeFile(L"C:\\Temp\\zellauncher.log", "old");
    EXPECT_EQ(clean(L"zellauncher.log").processEnd().status, 0U);
    EXPECT_FALSE(machine.exists(L"C:\\Temp\\zellauncher.log"));
    EXPECT_TRUE(launchertest::callsOf(machine, "moveFile").empty());
}

// As every deletion of the launcher, except of a path that has no long form.
TEST_F(TempLog, LeftoverOnADriveIsMovedAsideFirst) {
    for (const wchar_t* temp : {L"C:\\Temp", L"\\\\?\\C:\\Temp"}) {
        machine.setEnvironment(L"TEMP", temp);
        machine.writeFile(L"C:\\Temp\\zellauncher.log", "old");
        const std::size_t moved = launchertest::callsOf(machine, "moveFile").size();
        const std::size_t deleted = launchertest::callsOf(machine, "deleteFile").size();
        clean(L"zellauncher.log");
        EXPECT_EQ(launchertest::callsOf(machine, "moveFile").size(), moved + 1) << launchertest::toUtf8(temp);
        EXPECT_EQ(launchertest::callsOf(machine, "deleteFile").size(), deleted + 1)
            << launchertest::toUtf8(temp);
    }
}

TEST_F(TempLog, LeftoverWithoutAFullPathStays) {
    machine.writeFile(L"C:\\Temp\\zellauncher.log", "old");
    machine.inject(launchertest::failing("fullPathName", platform::errorInvalidName));
    EXPECT_EQ(clean(L"zellauncher.log").processEnd().status, 0U);
    EXPECT_TRUE(machine.exists(L"C:\\Temp\\zellauncher.log"));
}

TEST_F(TempLog, FullPathOf260CharactersIsTooLong) {
    for (const std::size_t length : {std::size_t{259}, std::size_t{260}}) {
        const std::wstring directory = L"\\\\?\\C:\\" + std::wstring(length - 7 - 16, L'x');
        const std::wstring leftover = directory + L"\\zellauncher.log";
        ASSERT_EQ(leftover.size(), length);
        machine.writeFile(leftover.substr(4), "old");
        machine.setEnvironment(L"TEMP", directory);
        EXPECT_EQ(clean(L"zellauncher.log").processEnd().status, 0U);
        EXPECT_EQ(machine.exists(leftover.substr(4)), length == 260);
    }
}

TEST_F(TempLog, LogOfAFatalEndIsDeletedByTheNextStart) {
    machine.makeDirectory(L"C:\\Temp");
    machine.run({L"C:\\zellauncher.exe"}, []() -> int { zellauncher::logFatal("early"); });
    EXPECT_TRUE(machine.exists(L"C:\\Temp\\zellauncher.log"));
    clean(L"zellauncher.log");
    EXPECT_FALSE(machine.exists(L"C:\\Temp\\zellauncher.log"));
}

}  // namespace
