#include "provisioning/config_ini.h"

#include <gtest/gtest.h>

#include "configuration/initial_launch.h"
#include "configuration/install_kind.h"
#include "support/launcher_fixture.h"
#include "support/operations.h"

namespace {

constexpr const wchar_t* configIni = L"C:\\c\\config.ini";
constexpr const wchar_t* baseTemplate = L"C:\\b\\config.ini";

class ConfigIni : public launchertest::OnMachine {
protected:
    launchertest::Outcome outcome;
    bool isInitial = false;  // initialLaunch after the seeding

    ConfigIni() { machine.makeDirectory(L"C:\\c"); }

    void seed() {
        outcome = run([&] {
            zellauncher::InstallConfiguration = zellauncher::InstallConfigurationKind::user;
            zellauncher::seedConfigIni(L"C:/c", L"C:\\b");
            isInitial = zellauncher::initialLaunch;
        });
    }
};

TEST_F(ConfigIni, TemplateIsCopiedOnce) {
    machine.writeFile(baseTemplate, "unchanged\n\n");
    seed();
    EXPECT_EQ(machine.readFile(configIni), "unchanged\n\n");
    EXPECT_TRUE(isInitial);
    machine.writeFile(configIni, "mine");
    seed();
    EXPECT_EQ(machine.readFile(configIni), "mine");
    EXPECT_FALSE(isInitial);
}

TEST_F(ConfigIni, CopyIsFlushed) {
    machine.writeFile(baseTemplate, "x");
    seed();
    EXPECT_EQ(launchertest::callsOf(machine, "flushFile", L"\\config.ini").size(), 1U);
}

TEST_F(ConfigIni, TemplateOfTheKindWins) {
    machine.writeFile(baseTemplate, "base");
    machine.writeFile(L"C:\\b\\config\\user\\config.ini", "user");
    seed();
    EXPECT_EQ(machine.readFile(configIni), "user");
}

TEST_F(ConfigIni, MissingTemplateIsFatal) {
    seed();
    outcome.expectFatal("ZLNCH0009E: Unable to copy config.ini to the user directory.");
}

TEST_F(ConfigIni, FailedCopyIsFatal) {
    machine.writeFile(baseTemplate, "x");
    machine.setFreeSpace(0);
    outcome = runQuietly([&] {
        zellauncher::InstallConfiguration = zellauncher::InstallConfigurationKind::user;
        zellauncher::seedConfigIni(L"C:/c", L"C:\\b");
    });
    EXPECT_TRUE(outcome.isFatal());
    EXPECT_EQ(launchertest::callsOf(machine, "copyFile", L"\\config.ini").size(), 1U);
    EXPECT_FALSE(machine.exists(configIni));
}

TEST_F(ConfigIni, DirectoryOfThatNameIsTreatedAsTheFile) {
    machine.makeDirectory(configIni);
    seed();
    EXPECT_EQ(outcome.processEnd().status, 0U);
    EXPECT_FALSE(isInitial);
}

}  // namespace
