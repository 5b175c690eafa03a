#include <gtest/gtest.h>

#include <algorithm>

#include "schedules/race.h"

// What the order of the steps makes unavoidable, each shown by the smallest race that has it: when two
// platforms run for one workspace, who waits, and whose log is lost.
namespace {

using schedules::Before;
using schedules::Fate;
using schedules::LauncherPlan;
using schedules::Overlap;
using schedules::PlatformPlan;
using schedules::Publishing;
using schedules::Race;
using schedules::RacePlan;
using schedules::RaceReport;

RaceReport runWithoutSwitches(const RacePlan& plan) {
    Race race(plan);
    race.followChoices({});
    RaceReport report = race.run();
    EXPECT_EQ(report.violations, std::vector<std::string>());
    return report;
}

int overlapsIn(const RaceReport& report, Overlap overlap) {
    const auto found = report.overlaps.find(overlap);
    return found == report.overlaps.end() ? 0 : found->second;
}

RacePlan raceOf(Before before, std::vector<LauncherPlan> launchers, std::vector<PlatformPlan> platforms) {
    RacePlan plan;
    plan.before = before;
    plan.launchers = std::move(launchers);
    plan.platforms = std::move(platforms);
    return plan;
}

// The lock is given up after 15 seconds, and the next launcher finds a record without an endpoint.
TEST(TwoPlatforms, WhenTheFirstNeedsMoreThanFifteenSeconds) {
    const auto publishingAfter = [](std::uint32_t milliseconds) {
        return runWithoutSwitches(
            raceOf(Before::nothing, {{0, {}}, {5000, {}}}, {{Fate::lives, milliseconds, 60000, 0, {}}, {}}));
    };
    EXPECT_EQ(overlapsIn(publishingAfter(14900), Overlap::slowPlatform), 0);
    EXPECT_EQ(overlapsIn(publishingAfter(15100), Overlap::slowPlatform), 1);
}

// Such a platform's endpoint turns up while the next one is being started and ends the wait for that
// one's: the lock is given up before the second platform can be found.
TEST(TwoPlatforms, WhenTheEndpointOfASlowPlatformIsTakenForTheNextOnes) {
    const auto slowOnePublishingAfter = [](std::uint32_t milliseconds) {
        return runWithoutSwitches(
            raceOf(Before::nothing, {{0, {}}, {5000, {}}, {20000, {}}},
                   {{Fate::lives, milliseconds, 1000, 0, {}}, {Fate::lives, 14000, 60000, 0, {}}, {}}));
    };
    const RaceReport whileTheNextStarts = slowOnePublishingAfter(17000);
    EXPECT_EQ(overlapsIn(whileTheNextStarts, Overlap::slowPlatform), 1);
    EXPECT_EQ(overlapsIn(whileTheNextStarts, Overlap::lateEndpoint), 1);
    // Too late for that: the next one has published, and the third launcher has found it.
    const RaceReport afterTheNextHasStarted = slowOnePublishingAfter(40000);
    EXPECT_EQ(overlapsIn(afterTheNextHasStarted, Overlap::slowPlatform), 1);
    EXPECT_EQ(overlapsIn(afterTheNextHasStarted, Overlap::lateEndpoint), 0);
}

// A restart gives the platform that asked for it 20 seconds to go.
TEST(TwoPlatforms, WhenARestartingPlatformStaysLongerThanTwentySeconds) {
    const auto endingAfter = [](std::uint32_t milliseconds) {
        return runWithoutSwitches(raceOf(Before::runningPlatform, {{60000, {}}},
                                         {{Fate::restarts, 0, 1000, milliseconds, {}}, {}}));
    };
    EXPECT_EQ(overlapsIn(endingAfter(18000), Overlap::recordBlanked), 0);
    EXPECT_EQ(overlapsIn(endingAfter(25000), Overlap::recordBlanked), 1);
}

// The launcher of a restart reads the pipe's name while the old platform goes, and keeps to it. When
// somebody else's start gets in between, that one's platform is not recognised.
TEST(TwoPlatforms, WhenAnotherStartGetsBetweenAPlatformAndItsRestart) {
    const auto arrivingAfter = [](std::uint32_t milliseconds) {
        return runWithoutSwitches(
            raceOf(Before::runningPlatform, {{milliseconds, {}}},
                   {{Fate::restarts, 0, 3000, 1500, {}}, {Fate::lives, 0, 60000, 0, {}}}));
    };
    EXPECT_EQ(overlapsIn(arrivingAfter(4600), Overlap::rememberedName), 1);  // the old one went at 4.5 s
    EXPECT_TRUE(arrivingAfter(4400).overlaps.empty());
    EXPECT_TRUE(arrivingAfter(5600).overlaps.empty());
}

// The wait for the endpoint ends when the file exists; who reads it then needs the name in it. A platform
// that writes it aside may stall in front of the move as long.
TEST(TwoPlatforms, WhenAnEndpointIsMadeBeforeItsNameIsWritten) {
    const auto stalling = [](Publishing publishing, const simulation::Stall& stall) {
        RacePlan plan =
            raceOf(Before::nothing, {{0, {}}, {0, {}}}, {{Fate::lives, 1000, 15000, 0, publishing}});
        plan.stall = stall;
        return runWithoutSwitches(plan);
    };
    const RaceReport atOnce = stalling(Publishing::inTwoSteps, {"writeStream", L".pipe", 0});
    const RaceReport beforeTheName = stalling(Publishing::inTwoSteps, {"writeStream", L".pipe", 3000});
    const RaceReport beforeTheMove = stalling(Publishing::inOneStep, {"deleteFile", L"\\.pipe", 3000});
    EXPECT_TRUE(atOnce.overlaps.empty());
    EXPECT_EQ(overlapsIn(beforeTheName, Overlap::tornEndpoint), 1);
    EXPECT_TRUE(beforeTheMove.overlaps.empty());
}

// A file that somebody has open cannot be moved away, and the launcher of a restart opens the endpoint
// without the lock. When it stalls there, the next launcher gives up after a second, takes the old endpoint
// for that of the platform that it starts, and gives up the lock.
TEST(TwoPlatforms, WhenARestartStallsWithTheOldEndpointOpen) {
    const auto stallingFor = [](std::uint32_t milliseconds) {
        RacePlan plan = raceOf(Before::runningPlatform, {{4600, {}}, {6000, {}}},
                               {{Fate::restarts, 0, 3000, 1500, {}}, {Fate::lives, 3000, 60000, 0, {}}});
        plan.stall = simulation::Stall{"closeStream", L".pipe", milliseconds};
        return runWithoutSwitches(plan);
    };
    EXPECT_EQ(overlapsIn(stallingFor(1000), Overlap::heldEndpoint), 0);
    EXPECT_GT(overlapsIn(stallingFor(2500), Overlap::heldEndpoint), 0);
}

// Two platforms that share a workspace share its one endpoint: when the one that published last ends, the
// other one cannot be found.
TEST(TwoPlatforms, WhenTwoAlreadyShareAWorkspaceAndTheLastToPublishEnds) {
    const auto arrivingAfter = [](std::uint32_t milliseconds) {
        return runWithoutSwitches(
            raceOf(Before::nothing, {{0, {}}, {5000, {}}, {milliseconds, {}}},
                   {{Fate::lives, 20000, 1000, 0, {}}, {Fate::lives, 200, 60000, 0, {}}, {}}));
    };
    EXPECT_EQ(overlapsIn(arrivingAfter(20500), Overlap::consequence), 0);
    EXPECT_EQ(overlapsIn(arrivingAfter(21500), Overlap::consequence), 1);  // the last one went at 21 s
}

// A launcher waits for a free instance of the pipe without limit, and whoever comes behind it waits for
// the lock. When the platform goes at last, the first one says so and the second one starts another.
TEST(Waiting, HasNoEndBehindAPlatformThatLetsNobodyIn) {
    const RaceReport report = runWithoutSwitches(
        raceOf(Before::nothing, {{0, {}}, {1000, {}}, {2000, {}}}, {{Fate::neverServes, 0, 0, 0, {}}}));
    EXPECT_EQ(report.outcomes.at("delivered"), 1);
    EXPECT_EQ(report.outcomes.at("waits behind a platform that lets nobody in"), 2);
}

// A command for the running platform opens the workspace's log before it waits for the lock, and so
// empties the log of the launcher that holds it.
TEST(Logs, OfAStartAreEmptiedByACommandThatComesMeanwhile) {
    RacePlan plan =
        raceOf(Before::nothing, {{0, {}}, {5000, {L"-dcommand_only"}}}, {{Fate::lives, 10000, 5000, 0, {}}});
    Race race(plan);
    race.followChoices({});
    const RaceReport report = race.run();
    EXPECT_EQ(report.violations, std::vector<std::string>());
    EXPECT_EQ(report.outcomes.at("delivered"), 2);
    const std::string log = race.theMachine()
                                .readFile(L"C:\\Users\\ann\\Mivel\\ZEL\\1234\\ann\\logs\\zellauncher.log")
                                .value_or("");
    EXPECT_EQ(log.find("word-0-, "), std::string::npos);
    EXPECT_NE(log.find("word-1-, "), std::string::npos);
}

}  // namespace
