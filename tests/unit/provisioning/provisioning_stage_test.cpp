#include "provisioning/provisioning_stage.h"

#include <gtest/gtest.h>

#include <string>

#include "configuration/initial_launch.h"
#include "configuration/install_kind.h"
#include "instance/platform_lock.h"
#include "platform/clock.h"
#include "support/launcher_fixture.h"
#include "support/operations.h"
#include "support/property_lists.h"
#include "support/text.h"
#include "support/worked_example.h"

namespace {

using launchertest::withoutKey;
using zellauncher::Arguments;
using zellauncher::InstallConfigurationKind;
using zellauncher::PropertyList;

// Whether provisioning is due. The install has no base location, so a stage that runs is fatal when it
// assembles the command.
class ProvisioningStage : public launchertest::OnMachine {
protected:
    PropertyList launcher = {{L"provisioning", L"true"}, {L"provisioning.manifest.version", L"7"}};
    PropertyList install = {{L"provisioning.manifest.version", L"7"}};
    Arguments arguments = {L"prog"};
    InstallConfigurationKind kind = InstallConfigurationKind::user;
    zellauncher::VmargOverrides overrides;
    const std::wstring workspace = L"C:/ws";
    const std::wstring home = L"C:\\p";
    bool isInitial = false;
    launchertest::Outcome outcome;

    bool isDue() {
        machine.makeDirectory(L"C:\\ws\\logs");
        outcome = run([&] {
            zellauncher::InstallConfiguration = kind;
            zellauncher::initialLaunch = isInitial;
            zellauncher::runProvisioningStage({workspace, home, arguments, install, launcher, overrides});
            EXPECT_EQ(zellauncher::initialLaunch, isInitial);
        });
        const bool isRun = outcome.isFatal();
        EXPECT_EQ(isRun,
                  outcome.logHas("ZLNCH0076I: Detected platform initial launch or user initial launch. "
                                 "Executing platform provisioning."));
        if (isRun) {
            outcome.expectFatal(
                "ZLNCH0011E: Unable to determine ZEL Base Plugin location. If the problem persists, "
                "reinstall.");
        }
        return isRun;
    }
};

TEST_F(ProvisioningStage, KnownManifestNeedsNoProvisioning) {
    EXPECT_FALSE(isDue());
    EXPECT_EQ(outcome.log, "");
}

TEST_F(ProvisioningStage, NewManifestNeedsProvisioning) {
    install.clear();
    EXPECT_TRUE(isDue());
    install = {{L"provisioning.manifest.version", L"6"}};
    EXPECT_TRUE(isDue());
    install = {{L"provisioning.manifest.version", L"7"}};
    launcher.setValue(1, L"A");
    install.setValue(0, L"a");
    EXPECT_TRUE(isDue());
}

TEST_F(ProvisioningStage, MissingManifestVersionIsTreatedAsNew) {
    launcher = withoutKey(launcher, L"provisioning.manifest.version");
    EXPECT_TRUE(isDue());
    install.clear();
    EXPECT_TRUE(isDue());
}

TEST_F(ProvisioningStage, InitialLaunchNeedsProvisioning) {
    isInitial = true;
    EXPECT_TRUE(isDue());
}

TEST_F(ProvisioningStage, PreparationNeedsBothOptions) {
    arguments = {L"prog", L"-provManifest", L"-zelLauncherWait"};
    EXPECT_TRUE(isDue());
    for (const Arguments& others : {Arguments{L"prog", L"-provManifest"},
                                    {L"prog", L"-zelLauncherWait"},
                                    {L"-provManifest", L"-zelLauncherWait"},
                                    {L"prog", L"-provmanifest", L"-zelLauncherWait"}}) {
        arguments = others;
        EXPECT_FALSE(isDue());
    }
}

TEST_F(ProvisioningStage, PropertyMustBeExactlyTrue) {
    install.clear();
    for (const wchar_t* value : {L"True", L"true ", L"", L"yes"}) {
        launcher.setValue(0, value);
        EXPECT_FALSE(isDue()) << value;
    }
    launcher = withoutKey(launcher, L"provisioning");
    EXPECT_FALSE(isDue());
}

TEST_F(ProvisioningStage, OnlyThreeKindsAreProvisioned) {
    install.clear();
    for (int number = 1; number <= 8; ++number) {
        kind = static_cast<InstallConfigurationKind>(number);
        EXPECT_EQ(isDue(), number == 2 || number == 3 || number == 6) << number;
    }
}

TEST_F(ProvisioningStage, SharedClassesAreSwitchedOff) {
    install.clear();
    overrides = {{L"vmarg.Dshare", L"-Xshareclasses:name=x"}, {L"vmarg.a", L"-Xa"}};
    EXPECT_TRUE(isDue());
    EXPECT_EQ(overrides,
              (zellauncher::VmargOverrides{{L"vmarg.Dshare", L"-Xshareclasses=none"}, {L"vmarg.a", L"-Xa"}}));
    EXPECT_TRUE(outcome.logHas(
        "ZLNCH0120I: \"vmarg.Dshare\" shared classes property found. Setting -Xsharedclasses=none while "
        "provisioning"));
}

TEST_F(ProvisioningStage, MissingSharedClassesOptionIsNotAdded) {
    install.clear();
    EXPECT_TRUE(isDue());
    EXPECT_TRUE(overrides.empty());
    EXPECT_TRUE(
        outcome.logHas("ZLNCH0121I: \"vmarg.Dshare\" shared classes property was not detected. No special "
                       "action needed while "
                       "provisioning"));
}

// The worked example, whose provisioning works for 30 seconds.
class ProvisioningRun : public launchertest::OnMachine {
protected:
    zellauncher::PropertyList install = launchertest::exampleInstallProperties();
    zellauncher::PropertyList launcher = launchertest::exampleLauncherProperties();
    Arguments arguments = {L"prog"};
    zellauncher::VmargOverrides overrides = launchertest::exampleOverrides();
    const std::wstring workspace = launchertest::exampleWorkspace;
    const std::wstring home = launchertest::exampleHome;
    bool hasChildEnded = false;
    bool hasReturned = false;
    launchertest::Outcome outcome;

    ProvisioningRun() {
        launchertest::layOutExample(machine);
        machine.installProgram(
            L"C:\\Apps\\Client\\zel\\eclipse\\plugins\\base_1.0\\win32\\x86_64\\eclipse.exe", [this] {
                platform::sleepMilliseconds(30000);
                hasChildEnded = true;
                return 0;
            });
        launcher.push_back({L"provisioning", L"true"});
        launcher.push_back({L"provisioning.manifest.version", L"7"});
        launcher.push_back({L"provisioning.application", L"com.example.prov"});
    }
    // The command of the provisioning that the stage runs.
    std::wstring provision() {
        outcome = runQuietly([this] {
            zellauncher::InstallConfiguration = InstallConfigurationKind::user;
            zellauncher::acquirePlatformLock(arguments, workspace);
            zellauncher::runProvisioningStage({workspace, home, arguments, install, launcher, overrides});
            hasReturned = true;
        });
        EXPECT_EQ(outcome.processEnd().status, 0U);
        EXPECT_EQ(machine.startedProcesses().size(), 1U);
        return machine.startedProcesses().empty() ? std::wstring()
                                                  : machine.startedProcesses()[0].commandLine;
    }
};

TEST_F(ProvisioningRun, EndsTheStartOnceItsChildHasEnded) {
    provision();
    EXPECT_FALSE(hasReturned);
    EXPECT_TRUE(hasChildEnded);
}

TEST_F(ProvisioningRun, LogsItsCommandAndReleasesTheLock) {
    const std::wstring command = provision();
    EXPECT_EQ(outcome.linesBeginningWith("ZLNCH0073I"), 1U);
    EXPECT_TRUE(outcome.logHas("ZLNCH0073I: Provisioning Command = '" + launchertest::toUtf8(command) + "'"));
    EXPECT_EQ(launchertest::callsOf(machine, "unlockStream").size(), 1U);
}

TEST_F(ProvisioningRun, OfAUserSaysSo) {
    EXPECT_NE(provision().find(L" -application com.example.prov -userProvLaunch -vm "), std::wstring::npos);
}

TEST_F(ProvisioningRun, OfAPreparationHasNoUser) {
    arguments = {L"prog", L"-zelLauncherWait", L"-provManifest"};
    EXPECT_NE(provision().find(L" -application com.example.prov -vm "), std::wstring::npos);
}

}  // namespace
