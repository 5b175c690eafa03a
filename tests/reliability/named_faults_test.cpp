#include <gtest/gtest.h>

#include <algorithm>

#include "reliability/scenario.h"
#include "reliability/user_files.h"

// What a fault may do to a start beyond its failure: one test for each name in docs/reliability.md.
namespace {

using reliability::perform;
using reliability::Performance;
using reliability::Rehearsal;
using reliability::Stage;

constexpr const wchar_t* settings = L"C:\\Users\\ann\\Mivel\\ZEL\\1234\\ann\\.config\\mine\\settings.prefs";

class NamedFaults : public ::testing::Test {
protected:
    std::unique_ptr<Rehearsal> rehearsal;
    std::unique_ptr<Stage> stage;

    // The scenario with one fault at the first operation of this name, from its nth one on.
    Performance performWith(const std::string& scenario, simulation::Fault fault) {
        rehearsal = std::make_unique<Rehearsal>(reliability::scenarioCalled(scenario));
        stage = rehearsal->stage();
        Performance performance =
            perform(*stage, rehearsal->scenario.words, [&](simulation::ProcessId launcher) {
                fault.process = launcher;
                stage->machine.inject(fault);
            });
        stage->machine.clearFaults();
        return performance;
    }

    static simulation::Fault faultOf(const std::string& operation, const std::wstring& ending,
                                     platform::ErrorCode error) {
        simulation::Fault fault;
        fault.operation = operation;
        fault.argumentEndsWith = ending;
        fault.error = error;
        return fault;
    }

    Performance performNext(const reliability::Words& words = {}) {
        stage->closePlatforms();
        return perform(*stage, words);
    }

    static bool tells(const Performance& performance, const std::string& text) {
        return std::any_of(performance.logLines.begin(), performance.logLines.end(),
                           [&](const std::string& line) { return line.find(text) != std::string::npos; });
    }
};

TEST_F(NamedFaults, AnOwnerThatCannotBeReadCountsAsGone) {
    const Performance start =
        performWith("hand_off", faultOf("readStream", L".zel.lock", platform::errorLockViolation));
    EXPECT_TRUE(start.endedWell());
    EXPECT_EQ(start.commands.size(), 1U);  // a second platform
    EXPECT_TRUE(tells(start, "ZLNCH0091E: No data in the platform lock file."));
}

TEST_F(NamedFaults, ASecondRenewalInOneStartReplacesTheBackupOfTheFirst) {
    simulation::Fault fault = faultOf("writeStream", L"zelinstall.properties.new", platform::errorDiskFull);
    fault.nth = 4;  // behind the three lines of the base file: what the launcher adds to them
    const Performance start = performWith("changed_install", fault);
    EXPECT_TRUE(start.endedWell());
    EXPECT_EQ(reliability::lostFiles(*stage, rehearsal->userFiles), std::vector<std::wstring>{settings});
}

TEST_F(NamedFaults, ALineThatIsNotTakenOverIsMissingUntilAReset) {
    simulation::Fault fault = faultOf("writeStream", L"zelinstall.properties.new", platform::errorDiskFull);
    fault.nth = 2;  // the line of plugincustomization
    EXPECT_TRUE(performWith("first_start", fault).failed());
    const Performance next = performNext();
    EXPECT_TRUE(next.failed());
    EXPECT_TRUE(tells(next, "ZLNCH0050E:  plugin_customization.ini is missing from "));
    EXPECT_TRUE(performNext({L"-resetconfig"}).endedWell());
    EXPECT_TRUE(performNext().endedWell());
}

TEST_F(NamedFaults, PropertiesThatAreReadInPartAreReplacedByTheirBackup) {
    simulation::Fault fault = faultOf("readStream", L"zelinstall.properties", platform::errorLockViolation);
    fault.nth = 3;  // behind the comparison of the identities: the check that they are complete
    EXPECT_TRUE(performWith("provisioning_is_done", fault).endedWell());
    const std::string properties = *stage->configFile(L"zelinstall.properties");
    EXPECT_EQ(properties.find("provisioning.manifest.version"), std::string::npos);
}

TEST_F(NamedFaults, AKnownUserWhoseDirectoryCannotBeLookedAtCountsAsNew) {
    const Performance start =
        performWith("changed_install", faultOf("fileAttributes", L"\\logs", platform::errorSharingViolation));
    EXPECT_TRUE(start.endedWell());
    EXPECT_FALSE(stage->machine.exists(stage->inWorkspace(L".configbak")));
    EXPECT_TRUE(performNext().endedWell());
    EXPECT_TRUE(stage->machine.exists(stage->inWorkspace(L".configbak")));
}

TEST_F(NamedFaults, AKioskThatCannotBeToldGivesAnAdministratorThePlatform) {
    const Performance start = performWith(
        "kiosk_without_a_desktop", faultOf("queryRegistryText", L"Shell", platform::errorAccessDenied));
    EXPECT_TRUE(start.endedWell());
    EXPECT_FALSE(start.tookShellRole());
    ASSERT_EQ(start.commands.size(), 1U);
    EXPECT_NE(start.commands[0].find(L"eclipse.exe"), std::wstring::npos);
    EXPECT_EQ(start.logonShell, L"kiosk.exe");
}

TEST_F(NamedFaults, AShellThatCannotBePutBackIsThatOfAdministrators) {
    simulation::Fault fault = faultOf("setRegistryText", L"Shell", platform::errorAccessDenied);
    fault.nth = 2;
    const Performance start = performWith("kiosk_without_a_desktop", fault);
    EXPECT_TRUE(start.endedWell());
    EXPECT_TRUE(start.tookShellRole());
    EXPECT_EQ(start.logonShell, L"explorer.exe");
}

TEST_F(NamedFaults, ADesktopThatCannotBeStartedIsLeftOutOfTheRole) {
    const Performance start =
        performWith("kiosk_without_a_desktop", faultOf("createProcess", L"", platform::errorFileNotFound));
    EXPECT_TRUE(start.endedWell());
    EXPECT_TRUE(start.commands.empty());
    EXPECT_EQ(start.logonShell, L"kiosk.exe");
}

// The word is looked for in another place each time, so a word that was missed once is missed for good.
TEST_F(NamedFaults, AWordThatCannotBeReadHasTheSupervisedPlatformStartedAgainAndAgain) {
    const Performance start = performWith(
        "lockdown_that_logs_off", faultOf("openStream", L".exitData", platform::errorSharingViolation));
    EXPECT_FALSE(start.end);
    EXPECT_GT(start.commands.size(), 100U);
    EXPECT_TRUE(start.sessionEnds.empty());
}

TEST_F(NamedFaults, ALockThatSomebodyHoldsIsWaitedFor) {
    simulation::Fault fault = faultOf("lockStream", L".zel.lock", platform::errorLockViolation);
    fault.fromThenOn = true;
    EXPECT_FALSE(performWith("first_start", fault).end);
}

TEST_F(NamedFaults, AChildWhoseEndNobodyCanAskForIsWaitedFor) {
    simulation::Fault fault = faultOf("hasProcessEnded", L"", platform::errorInvalidHandle);
    fault.fromThenOn = true;
    EXPECT_FALSE(performWith("waiting_for_the_platform", fault).end);
}

}  // namespace
