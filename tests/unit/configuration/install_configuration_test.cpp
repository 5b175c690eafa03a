#include "configuration/install_configuration.h"

#include <gtest/gtest.h>

#include "support/launcher_fixture.h"

namespace {

using zellauncher::InstallConfiguration;
using zellauncher::InstallConfigurationKind;
using zellauncher::PropertyList;

class InstallKind : public launchertest::OnMachine {
protected:
    void expectKind(const PropertyList& list, InstallConfigurationKind kind, bool force = false) {
        outcome = run([&] {
            EXPECT_TRUE(zellauncher::readInstallConfiguration(list, force));
            EXPECT_EQ(InstallConfiguration, kind);
        });
    }
    launchertest::Outcome outcome;
};

TEST_F(InstallKind, IsUnknownBeforeTheFirstReading) {
    run([] {
        EXPECT_EQ(InstallConfiguration, InstallConfigurationKind::unknown);
        EXPECT_FALSE(zellauncher::isLockdownInstall());
        EXPECT_FALSE(zellauncher::isDirectJavaStart());
    });
}

TEST_F(InstallKind, FollowsItsWord) {
    expectKind({{L"install.configuration", L"service"}}, InstallConfigurationKind::service);
    expectKind({{L"install.configuration", L"lockdown"}}, InstallConfigurationKind::lockdown);
    expectKind({{L"install.configuration", L"user"}}, InstallConfigurationKind::user);
    EXPECT_EQ(outcome.log, "");
    expectKind({{L"install.configuration", L"serial.multiuser"}}, InstallConfigurationKind::serialMultiuser);
    expectKind({{L"install.configuration", L"multiuser"}}, InstallConfigurationKind::multiuser);
    expectKind({{L"install.configuration", L"userpb"}}, InstallConfigurationKind::userpb);
}

TEST_F(InstallKind, AnyOtherWordIsUnknown) {
    for (const wchar_t* word : {L"", L"User", L"user ", L"users", L"other"}) {
        expectKind({{L"install.configuration", word}}, InstallConfigurationKind::unknown);
    }
}

TEST_F(InstallKind, TheFirstEntryCounts) {
    expectKind({{L"install.configuration", L"user"}, {L"install.configuration", L"service"}},
               InstallConfigurationKind::user);
}

TEST_F(InstallKind, WithoutAKeyItIsUserWithALine) {
    expectKind({}, InstallConfigurationKind::user);
    EXPECT_TRUE(
        outcome.logHas("ZLNCH0041I: Missed install configuration in property file. Using default setting!"));
    expectKind({{L"Install.configuration", L"service"}}, InstallConfigurationKind::user);
}

TEST_F(InstallKind, LockdownIsReadAnewEachTime) {
    run([] {
        zellauncher::readInstallConfiguration({{L"install.configuration", L"lockdown"}}, false);
        EXPECT_TRUE(zellauncher::isLockdownInstall());
        zellauncher::readInstallConfiguration({{L"install.configuration", L"service"}}, false);
        EXPECT_FALSE(zellauncher::isLockdownInstall());
        EXPECT_TRUE(zellauncher::isDirectJavaStart());
        zellauncher::readInstallConfiguration({}, false);
        EXPECT_FALSE(zellauncher::isDirectJavaStart());
    });
}

TEST_F(InstallKind, TheSharedServiceCanBeForced) {
    expectKind({}, InstallConfigurationKind::multiuserService, true);
    expectKind({{L"install.configuration", L"other"}}, InstallConfigurationKind::multiuserService, true);
    run([] {
        zellauncher::readInstallConfiguration({{L"install.configuration", L"lockdown"}}, true);
        EXPECT_TRUE(zellauncher::isLockdownInstall());
        EXPECT_TRUE(zellauncher::isDirectJavaStart());
    });
}

TEST_F(InstallKind, TwoKindsStartJavaDirectly) {
    run([] {
        for (int number = 1; number <= 8; ++number) {
            InstallConfiguration = static_cast<InstallConfigurationKind>(number);
            EXPECT_EQ(zellauncher::isDirectJavaStart(), number == 1 || number == 7) << number;
        }
    });
}

TEST_F(InstallKind, AMissingKeyTakesAnEarlierLockdownBack) {
    run([] {
        zellauncher::readInstallConfiguration({{L"install.configuration", L"lockdown"}}, false);
        zellauncher::readInstallConfiguration({}, false);
        EXPECT_FALSE(zellauncher::isLockdownInstall());
        EXPECT_EQ(InstallConfiguration, InstallConfigurationKind::user);
    });
}

}  // namespace
