#include <gtest/gtest.h>

#include <algorithm>

#include "reliability/scenario.h"
#include "reliability/user_files.h"
#include "support/faults.h"

// One test for each accepted consequence of a fault, and for each run that goes on without end.
namespace {

using launchertest::failing;
using launchertest::failingFrom;
using reliability::perform;
using reliability::Performance;
using reliability::Rehearsal;
using reliability::Stage;

constexpr const wchar_t* settings = L"C:\\Users\\ann\\Mivel\\ZEL\\1234\\ann\\.config\\mine\\settings.prefs";

class NamedFaults : public ::testing::Test {
protected:
    std::unique_ptr<Rehearsal> rehearsal;
    std::unique_ptr<Stage> stage;

    // The scenario with this fault in its launcher.
    Performance performWith(const std::string& scenario, simulation::Fault fault) {
        rehearsal = std::make_unique<Rehearsal>(reliability::scenarioCalled(scenario));
        stage = rehearsal->stage();
        Performance performance =
            perform(*stage, rehearsal->scenario.arguments, [&](simulation::ProcessId launcher) {
                fault.process = launcher;
                stage->machine.inject(fault);
            });
        stage->machine.clearFaults();
        return performance;
    }

    Performance performNext(const reliability::Arguments& arguments = {}) {
        stage->closePlatforms();
        return perform(*stage, arguments);
    }

    static bool logContains(const Performance& performance, const std::string& text) {
        return std::any_of(performance.logLines.begin(), performance.logLines.end(),
                           [&](const std::string& line) { return line.find(text) != std::string::npos; });
    }
};

TEST_F(NamedFaults, UnreadableOwnerIsTreatedAsGone) {
    // The first read looks for a Ctrl-Z at the end.
    const Performance start =
        performWith("hand_off", failing("readStream", platform::errorLockViolation, L".zel.lock", 2));
    EXPECT_TRUE(start.endedWell());
    EXPECT_EQ(start.commands.size(), 1U);  // a second platform
    EXPECT_TRUE(logContains(start, "ZLNCH0091E: No data in the platform lock file."));
}

TEST_F(NamedFaults, SecondRenewalReplacesTheFirstBackup) {
    // The first three writes copy the lines of the base file, the fourth adds the launcher's own.
    const Performance start = performWith(
        "changed_install", failing("writeStream", platform::errorDiskFull, L"zelinstall.properties.new", 4));
    EXPECT_TRUE(start.endedWell());
    EXPECT_EQ(reliability::lostFiles(*stage, rehearsal->userFiles), std::vector<std::wstring>{settings});
}

TEST_F(NamedFaults, SkippedLineIsMissingUntilAReset) {
    // The second write is the line of plugincustomization.
    const simulation::Fault fault =
        failing("writeStream", platform::errorDiskFull, L"zelinstall.properties.new", 2);
    EXPECT_TRUE(performWith("first_start", fault).failed());
    const Performance next = performNext();
    EXPECT_TRUE(next.failed());
    EXPECT_TRUE(logContains(next, "ZLNCH0050E:  plugin_customization.ini is missing from "));
    EXPECT_TRUE(performNext({L"-resetconfig"}).endedWell());
    EXPECT_TRUE(performNext().endedWell());
}

TEST_F(NamedFaults, PartlyReadPropertiesAreReplacedByTheirBackup) {
    // The third read is the check for required keys, after the comparison of the identities.
    const simulation::Fault fault =
        failing("readStream", platform::errorLockViolation, L"zelinstall.properties", 3);
    EXPECT_TRUE(performWith("provisioning_done", fault).endedWell());
    const std::string properties = *stage->configFile(L"zelinstall.properties");
    EXPECT_EQ(properties.find("provisioning.manifest.version"), std::string::npos);
}

TEST_F(NamedFaults, UserWithUnreadableDirectoryIsTreatedAsNew) {
    const Performance start =
        performWith("changed_install", failing("fileAttributes", platform::errorSharingViolation, L"\\logs"));
    EXPECT_TRUE(start.endedWell());
    EXPECT_FALSE(stage->machine.exists(stage->inWorkspace(L".configbak")));
    EXPECT_TRUE(performNext().endedWell());
    EXPECT_TRUE(stage->machine.exists(stage->inWorkspace(L".configbak")));
}

TEST_F(NamedFaults, AdministratorAtAnUnreadableKioskGetsThePlatform) {
    const Performance start = performWith(
        "kiosk_without_desktop", failing("queryRegistryText", platform::errorAccessDenied, L"Shell"));
    EXPECT_TRUE(start.endedWell());
    EXPECT_FALSE(start.tookShellRole());
    ASSERT_EQ(start.commands.size(), 1U);
    EXPECT_NE(start.commands[0].find(L"eclipse.exe"), std::wstring::npos);
    EXPECT_EQ(start.logonShell, L"kiosk.exe");
}

TEST_F(NamedFaults, FailedRestoreLeavesTheShellOfAdministrators) {
    const Performance start = performWith(
        "kiosk_without_desktop", failing("setRegistryText", platform::errorAccessDenied, L"Shell", 2));
    EXPECT_TRUE(start.endedWell());
    EXPECT_TRUE(start.tookShellRole());
    EXPECT_EQ(start.logonShell, L"explorer.exe");
}

TEST_F(NamedFaults, FailedDesktopIsOmittedFromTheShellRole) {
    const Performance start =
        performWith("kiosk_without_desktop", failing("createProcess", platform::errorFileNotFound));
    EXPECT_TRUE(start.endedWell());
    EXPECT_TRUE(start.commands.empty());
    EXPECT_EQ(start.logonShell, L"kiosk.exe");
}

// Only the first end with 0 looks for .exitData in the right place, so all later ones are accidents too.
TEST_F(NamedFaults, UnreadableExitDataRestartsThePlatformWithoutEnd) {
    const Performance start = performWith(
        "lockdown_with_logoff", failing("openStream", platform::errorSharingViolation, L".exitData"));
    EXPECT_FALSE(start.end);
    EXPECT_GT(start.commands.size(), 100U);
    EXPECT_TRUE(start.sessionEnds.empty());
}

TEST_F(NamedFaults, HeldLockIsWaitedForWithoutEnd) {
    const simulation::Fault fault = failingFrom("lockStream", platform::errorLockViolation, L".zel.lock");
    EXPECT_FALSE(performWith("first_start", fault).end);
}

TEST_F(NamedFaults, UnobservableChildIsWaitedForWithoutEnd) {
    const simulation::Fault fault = failingFrom("hasProcessEnded", platform::errorInvalidHandle);
    EXPECT_FALSE(performWith("wait_option", fault).end);
}

}  // namespace
