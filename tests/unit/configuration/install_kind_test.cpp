#include "configuration/install_kind.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "support/launcher_fixture.h"
#include "support/text.h"

namespace {

using launchertest::toUtf8;
using zellauncher::ForcedKind;
using zellauncher::InstallConfiguration;
using zellauncher::InstallConfigurationKind;
using zellauncher::PropertyList;
using zellauncher::readInstallConfiguration;

const PropertyList lockdown = {{L"install.configuration", L"lockdown"}};

class InstallKind : public launchertest::OnMachine {
protected:
    launchertest::Outcome outcome;

    void expectKind(const PropertyList& list, InstallConfigurationKind kind,
                    ForcedKind forcedKind = ForcedKind::none) {
        outcome = run([&] {
            EXPECT_TRUE(readInstallConfiguration(list, forcedKind));
            EXPECT_EQ(InstallConfiguration, kind);
        });
    }
};

TEST_F(InstallKind, IsUnknownBeforeTheFirstReading) {
    run([] {
        EXPECT_EQ(InstallConfiguration, InstallConfigurationKind::unknown);
        EXPECT_FALSE(zellauncher::isLockdownInstall());
        EXPECT_FALSE(zellauncher::isDirectJavaStart());
    });
}

TEST_F(InstallKind, FollowsTheKey) {
    const std::vector<std::pair<std::wstring, InstallConfigurationKind>> cases = {
        {L"service", InstallConfigurationKind::service},
        {L"lockdown", InstallConfigurationKind::lockdown},
        {L"user", InstallConfigurationKind::user},
        {L"serial.multiuser", InstallConfigurationKind::serialMultiuser},
        {L"multiuser", InstallConfigurationKind::multiuser},
        {L"userpb", InstallConfigurationKind::userpb}};
    for (const auto& [name, kind] : cases) {
        SCOPED_TRACE(toUtf8(name));
        expectKind({{L"install.configuration", name}}, kind);
        EXPECT_EQ(outcome.log, "");
    }
}

TEST_F(InstallKind, IsUnknownForAnyOtherName) {
    for (const wchar_t* name : {L"", L"User", L"user ", L"users", L"other"}) {
        SCOPED_TRACE(toUtf8(name));
        expectKind({{L"install.configuration", name}}, InstallConfigurationKind::unknown);
    }
}

TEST_F(InstallKind, FollowsTheFirstEntry) {
    expectKind({{L"install.configuration", L"user"}, {L"install.configuration", L"service"}},
               InstallConfigurationKind::user);
}

TEST_F(InstallKind, IsUserWithALogLineWithoutTheKey) {
    expectKind({}, InstallConfigurationKind::user);
    EXPECT_TRUE(
        outcome.logHas("ZLNCH0041I: Missed install configuration in property file. Using default setting!"));
    expectKind({{L"Install.configuration", L"service"}}, InstallConfigurationKind::user);
}

TEST_F(InstallKind, LaterReadingReplacesLockdown) {
    run([] {
        readInstallConfiguration(lockdown);
        EXPECT_TRUE(zellauncher::isLockdownInstall());
        readInstallConfiguration({{L"install.configuration", L"service"}});
        EXPECT_FALSE(zellauncher::isLockdownInstall());
        EXPECT_TRUE(zellauncher::isDirectJavaStart());
        readInstallConfiguration({});
        EXPECT_FALSE(zellauncher::isDirectJavaStart());
    });
}

TEST_F(InstallKind, MultiuserServiceCanBeForced) {
    expectKind({}, InstallConfigurationKind::multiuserService, ForcedKind::multiuserService);
    expectKind({{L"install.configuration", L"other"}}, InstallConfigurationKind::multiuserService,
               ForcedKind::multiuserService);
    run([] {
        readInstallConfiguration(lockdown, ForcedKind::multiuserService);
        EXPECT_TRUE(zellauncher::isLockdownInstall());
        EXPECT_TRUE(zellauncher::isDirectJavaStart());
    });
}

TEST_F(InstallKind, TwoKindsStartJavaDirectly) {
    run([] {
        for (int number = 1; number <= 8; ++number) {
            InstallConfiguration = static_cast<InstallConfigurationKind>(number);
            EXPECT_EQ(zellauncher::isDirectJavaStart(), number == 1 || number == 7) << "kind " << number;
        }
    });
}

TEST_F(InstallKind, MissingKeyReplacesLockdown) {
    run([] {
        readInstallConfiguration(lockdown);
        readInstallConfiguration({});
        EXPECT_FALSE(zellauncher::isLockdownInstall());
        EXPECT_EQ(InstallConfiguration, InstallConfigurationKind::user);
    });
}

}  // namespace
