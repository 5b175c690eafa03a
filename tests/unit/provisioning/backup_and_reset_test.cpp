#include "provisioning/backup_and_reset.h"

#include <gtest/gtest.h>

#include "configuration/install_kind.h"
#include "platform/files.h"
#include "support/faults.h"
#include "support/launcher_fixture.h"

namespace {

class BackupAndReset : public launchertest::OnMachine {
protected:
    launchertest::Outcome outcome;

    BackupAndReset() {
        machine.writeFile(L"C:\\ws\\.config\\zelinstall.properties",
                          "resetDir.a=views\r\nRESETDIR.b=other\r\n");
        machine.writeFile(L"C:\\ws\\.config\\org.eclipse.update\\platform.xml", "p");
        machine.writeFile(L"C:\\ws\\.config\\org.eclipse.update\\registry", "r");
        machine.writeFile(L"C:\\ws\\.config\\org.eclipse.update\\bookmarks.xml", "b");
    }
    void backup() {
        outcome = run([] { zellauncher::backupConfiguration(L"C:/ws", L"C:/ws/.config"); });
    }
    void reset() {
        outcome = run([] {
            zellauncher::InstallConfiguration = zellauncher::InstallConfigurationKind::user;
            zellauncher::resetConfiguration(L"C:/ws", L"C:/ws/.config", L"C:/b");
        });
    }
    void failUpdateDirectory() {
        machine.inject(
            launchertest::failing("createDirectory", platform::errorAccessDenied, L"org.eclipse.update"));
    }
};

TEST_F(BackupAndReset, BackupKeepsTheUsersFiles) {
    backup();
    const std::wstring update = L"C:\\ws\\.config\\org.eclipse.update\\";
    const std::wstring kept = L"C:\\ws\\.configbak\\";
    EXPECT_EQ(machine.tree(L"C:\\ws"),
              (std::vector<std::wstring>{
                  L"C:\\ws\\.config\\", update, update + L"bookmarks.xml", update + L"registry", kept,
                  kept + L"org.eclipse.update\\", kept + L"org.eclipse.update\\bookmarks.xml",
                  kept + L"org.eclipse.update\\platform.xml", kept + L"org.eclipse.update\\registry",
                  kept + L"zelinstall.properties", L"C:\\ws\\platform.xml.old"}));
    EXPECT_EQ(machine.readFile(L"C:\\ws\\platform.xml.old"), "p");
    EXPECT_EQ(machine.readFile(L"C:\\ws\\.config\\org.eclipse.update\\registry"), "r");
}

TEST_F(BackupAndReset, BackupWorksWithoutAnUpdateDirectory) {
    machine.remove(L"C:\\ws\\.config\\org.eclipse.update");
    backup();
    EXPECT_EQ(outcome.processEnd().status, 0U);
    EXPECT_TRUE(outcome.logHas("ZLNCH0110I: 'C:\\ws\\.config\\org.eclipse.update\\registry' not found"));
    EXPECT_TRUE(machine.isDirectory(L"C:\\ws\\.config\\org.eclipse.update"));
}

TEST_F(BackupAndReset, BackupReplacesTheFormerOne) {
    machine.writeFile(L"C:\\ws\\.configbak\\former", "");
    backup();
    EXPECT_FALSE(machine.exists(L"C:\\ws\\.configbak\\former"));
    EXPECT_TRUE(machine.exists(L"C:\\ws\\.configbak\\zelinstall.properties"));
}

TEST_F(BackupAndReset, BackupRestoresTheCopyOfAnInterruptedOne) {
    machine.remove(L"C:\\ws\\.config\\org.eclipse.update");
    machine.writeFile(L"C:\\ws\\registry.old", "older");
    backup();
    EXPECT_EQ(machine.readFile(L"C:\\ws\\.config\\org.eclipse.update\\registry"), "older");
}

TEST_F(BackupAndReset, BackupWithoutADirectoryIsFatal) {
    failUpdateDirectory();
    backup();
    outcome.expectFatal("ZLNCH0044E: Unable to create C:\\ws\\.config\\org.eclipse.update directory.");
    machine.remove(L"C:\\ws\\.config");
    backup();
    outcome.expectFatal("ZLNCH0109E: Unable to locate 'C:\\ws\\.config' for copying");
}

TEST_F(BackupAndReset, ResetRemovesTheNamedDirectories) {
    machine.writeFile(L"C:\\ws\\.metadata\\.plugins\\views\\x", "");
    machine.writeFile(L"C:\\ws\\.metadata\\.plugins\\other\\x", "");
    reset();
    EXPECT_EQ(outcome.processEnd().status, 0U);
    EXPECT_FALSE(machine.exists(L"C:\\ws\\.metadata\\.plugins\\views"));
    EXPECT_TRUE(machine.exists(L"C:\\ws\\.metadata\\.plugins\\other\\x"));
    EXPECT_FALSE(machine.exists(L"C:\\ws\\platform.xml.old"));
    EXPECT_EQ(machine.readFile(L"C:\\ws\\.config\\org.eclipse.update\\registry"), "r");
    EXPECT_EQ(machine.readFile(L"C:\\ws\\.config\\org.eclipse.update\\bookmarks.xml"), "b");
    failUpdateDirectory();
    reset();
    outcome.expectFatal("ZLNCH0106E: Unable to locate C:\\b\\zelinstall.properties file.");
}

TEST_F(BackupAndReset, ResetWithoutAnUpdateDirectoryIsFatal) {
    failUpdateDirectory();
    reset();
    outcome.expectFatal("ZLNCH0045E: Unable to create C:\\ws\\.config\\org.eclipse.update directory.");
}

TEST_F(BackupAndReset, ResetReadsTheInstallsNamesWithoutTheUsersFile) {
    machine.remove(L"C:\\ws\\.config\\zelinstall.properties");
    machine.writeFile(L"C:\\b\\config\\user\\zelinstall.properties", "resetDir.a=views\r\n");
    machine.writeFile(L"C:\\ws\\.metadata\\.plugins\\views\\x", "");
    reset();
    EXPECT_FALSE(machine.exists(L"C:\\ws\\.metadata\\.plugins\\views"));
}

TEST_F(BackupAndReset, EmptyNameRemovesThePluginsDirectory) {
    machine.writeFile(L"C:\\ws\\.config\\zelinstall.properties", "resetDir.a=\r\n");
    machine.writeFile(L"C:\\ws\\.metadata\\.plugins\\views\\x", "");
    machine.writeFile(L"C:\\ws\\.metadata\\other", "");
    reset();
    EXPECT_FALSE(machine.exists(L"C:\\ws\\.metadata\\.plugins"));
    EXPECT_TRUE(machine.exists(L"C:\\ws\\.metadata\\other"));
}

TEST_F(BackupAndReset, UnremovableFilesAreAllListed) {
    for (int i = 0; i < 200; ++i) {
        const std::wstring path = L"C:\\ws\\.metadata\\.plugins\\views\\held" + std::to_wstring(i);
        machine.writeFile(path, "");
        machine.setAttributes(path, platform::attributeReadOnly);
    }
    reset();
    EXPECT_TRUE(outcome.isFatal());
    EXPECT_NE(outcome.log.find("\n\nZLNCH0107E begin: Error removing metadata plugin directory\n"
                               "Can't delete file \\\\?\\C:\\ws\\.metadata\\.plugins\\views\\held0  - "),
              std::string::npos);
    EXPECT_GT(outcome.log.size(), 10000U);
    EXPECT_TRUE(outcome.log.ends_with(
        "\nZLNCH0108E end: Unable to remove all files in the metadata plugin directory. "
        "Please correct the problems "
        "listed above\n"));
    // The configuration was not moved yet.
    EXPECT_TRUE(machine.exists(L"C:\\ws\\.config\\zelinstall.properties"));
}

}  // namespace
