#include <gtest/gtest.h>

#include "scenarios/story.h"
#include "support/text.h"

// The platform ends before it publishes its pipe file. The launcher does what it always does, and its log
// says so.
namespace {

using launchertest::countOccurrences;
using scenarios::contains;
using scenarios::Story;

const std::string endOfPlatform = "ZELLauncher> the platform's process ended with status ";

class DyingPlatform : public Story {
protected:
    DyingPlatform() {
        platform.publishes = false;
        platform.livesMilliseconds = 0;
        platform.exitCode = 1;
    }
    void provision() {
        launcherProperties.set("provisioning", "true");
        launcherProperties.set("provisioning.manifest.version", "7");
        launcherProperties.set("provisioning.application", "com.example.prov");
    }
};

TEST_F(DyingPlatform, IsLoggedBetweenTheCommandAndTheReleaseOfTheLock) {
    EXPECT_STARTED(launch());
    const std::string text = log();
    const std::size_t command = text.find("ZLNCH0072I: Command = ");
    const std::size_t line = text.find(endOfPlatform + "1 before a .pipe was seen; ");
    const std::size_t release = text.find("ZLNCH0306I: lock file released @ 20260131_235915_000");
    EXPECT_LT(command, line) << text;
    EXPECT_LT(line, release) << text;
    EXPECT_NE(release, std::string::npos) << text;
    EXPECT_EQ(countOccurrences(text, "ZELLauncher> "), 1U);
}

TEST_F(DyingPlatform, IsInTheLogOfADebugStart) {
    EXPECT_STARTED(launch({L"-debug"}));
    EXPECT_TRUE(contains(lastDebugLog(), endOfPlatform + "1 "));
}

// The second launcher opens the same file as soon as it has the lock.
TEST_F(DyingPlatform, IsNotInTheLogOfTheNextStart) {
    const simulation::ProcessId first = begin();
    machine.runUntilIdle(5000);
    platform = scenarios::PlatformBehaviour();
    const simulation::ProcessId second = begin();
    EXPECT_STARTED(machine.waitFor(first));
    EXPECT_STARTED(machine.waitFor(second));
    EXPECT_TRUE(contains(log(), "ZLNCH0304I: We are main process\n"));
    EXPECT_EQ(log().find(endOfPlatform), std::string::npos) << log();
}

TEST_F(DyingPlatform, OfAProvisioningRunIsLogged) {
    provision();
    EXPECT_STARTED(launch());
    EXPECT_TRUE(contains(log(), "ZLNCH0073I: Provisioning Command = "));
    EXPECT_TRUE(contains(log(), endOfPlatform + "1 "));
}

TEST_F(DyingPlatform, LongProvisioningRunIsNotLogged) {
    provision();
    platform.livesMilliseconds = 20000;
    EXPECT_STARTED(launch());
    EXPECT_EQ(log().find(endOfPlatform), std::string::npos) << log();
}

TEST_F(DyingPlatform, OfASupervisedUserIsLoggedEachTime) {
    launcherProperties.set("install.configuration", "lockdown");
    const simulation::ProcessId supervisor = begin();
    machine.runUntilIdle(35000);
    EXPECT_TRUE(machine.isRunning(supervisor));
    EXPECT_EQ(countOccurrences(log(), endOfPlatform), 2U);
}

}  // namespace
