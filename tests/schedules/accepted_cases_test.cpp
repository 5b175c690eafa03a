#include <gtest/gtest.h>

#include "schedules/race.h"

// What cannot be avoided with this order of steps: when two platforms run for one workspace, which launchers
// wait without a limit, and whose log is lost. Each test is the smallest race that shows its case.
namespace {

using schedules::Fate;
using schedules::InitialState;
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

// `arrivals` are in milliseconds, one per launcher.
RacePlan raceOf(InitialState initialState, const std::vector<std::uint32_t>& arrivals,
                const std::vector<PlatformPlan>& platforms) {
    RacePlan plan;
    plan.initialState = initialState;
    for (const std::uint32_t arrival : arrivals) {
        plan.launchers.push_back({.arrivesAfter = arrival});
    }
    plan.platforms = platforms;
    return plan;
}

// The lock is released after 15 seconds, and the next launcher finds an owner without a pipe file.
TEST(TwoPlatforms, RunIfTheFirstPublishesAfterFifteenSeconds) {
    const auto publishingAfter = [](std::uint32_t milliseconds) {
        return runWithoutSwitches(
            raceOf(InitialState::nothing, {0, 5000},
                   {{.publishesAfter = milliseconds, .livesFor = 60000}, PlatformPlan()}));
    };
    EXPECT_EQ(overlapsIn(publishingAfter(14900), Overlap::slowPlatform), 0);
    EXPECT_EQ(overlapsIn(publishingAfter(15100), Overlap::slowPlatform), 1);
}

// The late pipe file appears while the next platform is being started, and ends the wait for that one's.
// So the lock is released before the second platform can be found.
TEST(TwoPlatforms, RunIfALatePipeFileIsTakenForTheNext) {
    const auto slowOnePublishingAfter = [](std::uint32_t milliseconds) {
        return runWithoutSwitches(raceOf(InitialState::nothing, {0, 5000, 20000},
                                         {{.publishesAfter = milliseconds, .livesFor = 1000},
                                          {.publishesAfter = 14000, .livesFor = 60000},
                                          PlatformPlan()}));
    };
    const RaceReport whileTheNextStarts = slowOnePublishingAfter(17000);
    EXPECT_EQ(overlapsIn(whileTheNextStarts, Overlap::slowPlatform), 1);
    EXPECT_EQ(overlapsIn(whileTheNextStarts, Overlap::latePipeFile), 1);
    // The third launcher has already found the second platform.
    const RaceReport afterTheNextHasStarted = slowOnePublishingAfter(40000);
    EXPECT_EQ(overlapsIn(afterTheNextHasStarted, Overlap::slowPlatform), 1);
    EXPECT_EQ(overlapsIn(afterTheNextHasStarted, Overlap::latePipeFile), 0);
}

// A restart waits 20 seconds for the end of the platform that asked for it.
TEST(TwoPlatforms, RunIfARestartingPlatformStaysTooLong) {
    const auto endingAfter = [](std::uint32_t milliseconds) {
        return runWithoutSwitches(raceOf(InitialState::runningPlatform, {60000},
                                         {{.fate = Fate::restarts,
                                           .publishesAfter = 0,
                                           .livesFor = 1000,
                                           .endsAfterRestart = milliseconds},
                                          PlatformPlan()}));
    };
    EXPECT_EQ(overlapsIn(endingAfter(18000), Overlap::ownerBlanked), 0);
    EXPECT_EQ(overlapsIn(endingAfter(25000), Overlap::ownerBlanked), 1);
}

// Publishes at once and starts a launcher after 3 seconds; ends 1.5 seconds later.
constexpr PlatformPlan restartingPlatform = {
    .fate = Fate::restarts, .publishesAfter = 0, .livesFor = 3000, .endsAfterRestart = 1500};

// The launcher of a restart reads the pipe's name while the old platform ends, and keeps using it. If
// another launcher starts a platform in between, the restart does not recognise it.
TEST(TwoPlatforms, RunIfAnotherStartPrecedesTheRestart) {
    const auto arrivingAfter = [](std::uint32_t milliseconds) {
        return runWithoutSwitches(raceOf(InitialState::runningPlatform, {milliseconds},
                                         {restartingPlatform, {.publishesAfter = 0, .livesFor = 60000}}));
    };
    EXPECT_EQ(overlapsIn(arrivingAfter(4600), Overlap::rememberedName), 1);  // the old one ended at 4.5 s
    EXPECT_TRUE(arrivingAfter(4400).overlaps.empty());
    EXPECT_TRUE(arrivingAfter(5600).overlaps.empty());
}

// The wait for the pipe file ends when the file exists, but reading it then needs the name in it. A
// platform that renames the finished file may stall as long without harm.
TEST(TwoPlatforms, RunIfThePipeFileExistsBeforeItsName) {
    const auto stalling = [](Publishing publishing, const simulation::Stall& stall) {
        RacePlan plan = raceOf(InitialState::nothing, {0, 0},
                               {{.publishesAfter = 1000, .livesFor = 15000, .publishing = publishing}});
        plan.stall = stall;
        return runWithoutSwitches(plan);
    };
    const RaceReport withoutStall = stalling(Publishing::inPlace, {"writeStream", L".pipe", 0});
    const RaceReport beforeTheName = stalling(Publishing::inPlace, {"writeStream", L".pipe", 3000});
    const RaceReport beforeTheRename = stalling(Publishing::byRename, {"deleteFile", L"\\.pipe", 3000});
    EXPECT_TRUE(withoutStall.overlaps.empty());
    EXPECT_EQ(overlapsIn(beforeTheName, Overlap::emptyPipeFile), 1);
    EXPECT_TRUE(beforeTheRename.overlaps.empty());
}

// An open file cannot be moved away, and the launcher of a restart opens the pipe file without the lock.
// If it stalls there, the next launcher stops trying after a second, takes the old pipe file for that of
// the platform that it starts, and releases the lock.
TEST(TwoPlatforms, RunIfARestartHoldsTheOldPipeFileOpen) {
    const auto stallingFor = [](std::uint32_t milliseconds) {
        RacePlan plan = raceOf(InitialState::runningPlatform, {4600, 6000},
                               {restartingPlatform, {.publishesAfter = 3000, .livesFor = 60000}});
        plan.stall = simulation::Stall{"closeStream", L".pipe", milliseconds};
        return runWithoutSwitches(plan);
    };
    EXPECT_EQ(overlapsIn(stallingFor(1000), Overlap::heldPipeFile), 0);
    EXPECT_GT(overlapsIn(stallingFor(2500), Overlap::heldPipeFile), 0);
}

// Two platforms that share a workspace share its one pipe file. When the one that published last ends,
// the other cannot be found.
TEST(TwoPlatforms, RunIfTheFirstHasLostItsPipeFile) {
    const auto arrivingAfter = [](std::uint32_t milliseconds) {
        return runWithoutSwitches(raceOf(InitialState::nothing, {0, 5000, milliseconds},
                                         {{.publishesAfter = 20000, .livesFor = 1000},
                                          {.publishesAfter = 200, .livesFor = 60000},
                                          PlatformPlan()}));
    };
    EXPECT_EQ(overlapsIn(arrivingAfter(20500), Overlap::consequence), 0);
    EXPECT_EQ(overlapsIn(arrivingAfter(21500), Overlap::consequence), 1);  // the last one ended at 21 s
}

// On a locked-down desktop, the launcher that supervises a platform starts it again after a crash, and holds
// no lock meanwhile. The platform that ends the race ends with 23 and does not restart itself.
constexpr int crash = 1;
constexpr PlatformPlan lastPlatform = {.publishesAfter = 0, .livesFor = 60000, .exitCode = 23};

RaceReport runSupervised(const std::vector<std::uint32_t>& arrivals,
                         const std::vector<PlatformPlan>& platforms) {
    RacePlan plan = raceOf(InitialState::nothing, arrivals, platforms);
    plan.isLockdown = true;
    return runWithoutSwitches(plan);
}

TEST(TwoSupervisedPlatforms, RunIfAStartComesBeforeThePipeFileOfARerun) {
    const auto arrivingAfter = [](std::uint32_t milliseconds) {
        return runSupervised({0, milliseconds}, {{.publishesAfter = 0, .livesFor = 3000, .exitCode = crash},
                                                 {.publishesAfter = 5000, .livesFor = 60000, .exitCode = 23},
                                                 lastPlatform});
    };
    EXPECT_TRUE(arrivingAfter(2000).overlaps.empty());
    EXPECT_EQ(overlapsIn(arrivingAfter(5000), Overlap::unlockedRerun), 1);  // started again at 3.0 s
    EXPECT_TRUE(arrivingAfter(9000).overlaps.empty());                      // published at 8.0 s
}

TEST(TwoSupervisedPlatforms, RunIfAStartComesBeforeTheSupervisorSeesTheCrash) {
    const auto arrivingAfter = [](std::uint32_t milliseconds) {
        return runSupervised(
            {0, milliseconds},
            {{.publishesAfter = 0, .livesFor = 3100, .exitCode = crash}, lastPlatform, lastPlatform});
    };
    EXPECT_TRUE(arrivingAfter(3000).overlaps.empty());
    EXPECT_EQ(overlapsIn(arrivingAfter(3200), Overlap::unlockedRerun), 1);  // the supervisor looks at 3.5 s
    EXPECT_TRUE(arrivingAfter(4000).overlaps.empty());
}

// The launcher of the restart supervises the new platform, and so does the first launcher, which watches
// every eclipse.exe.
TEST(TwoSupervisedPlatforms, RunIfThePlatformCrashesAfterARestartThroughALauncher) {
    const auto endingWith = [](int exitCode) {
        return runSupervised({0},
                             {{.fate = Fate::restarts, .publishesAfter = 0, .livesFor = 3000, .exitCode = 24},
                              {.publishesAfter = 0, .livesFor = 10000, .exitCode = exitCode},
                              lastPlatform});
    };
    EXPECT_TRUE(endingWith(23).overlaps.empty());
    EXPECT_EQ(overlapsIn(endingWith(crash), Overlap::unlockedRerun), 1);
}

// A launcher waits for a free instance of the pipe without a limit, and later launchers wait for the
// lock. Once the platform has ended, the first one fails and the second starts another platform.
TEST(LauncherWait, HasNoLimitIfThePipeIsNeverServed) {
    const RaceReport report =
        runWithoutSwitches(raceOf(InitialState::nothing, {0, 1000, 2000},
                                  {{.fate = Fate::neverServes, .publishesAfter = 0, .livesFor = 0}}));
    EXPECT_EQ(report.outcomes.at("delivered"), 1);
    EXPECT_EQ(report.outcomes.at("waits for a platform that never serves its pipe"), 2);
}

// -dcommand_only opens the workspace's log before it waits for the lock, and so empties the log of the
// launcher that holds it.
TEST(CommandOnly, EmptiesTheLogOfAStartInProgress) {
    RacePlan plan;
    plan.launchers = {{.arrivesAfter = 0}, {.arrivesAfter = 5000, .arguments = {L"-dcommand_only"}}};
    plan.platforms = {{.publishesAfter = 10000, .livesFor = 5000}};
    Race race(plan);
    race.followChoices({});
    const RaceReport report = race.run();
    EXPECT_EQ(report.violations, std::vector<std::string>());
    EXPECT_EQ(report.outcomes.at("delivered"), 2);
    const std::string log = race.theMachine()
                                .readFile(L"C:\\Users\\ann\\Mivel\\ZEL\\1234\\ann\\logs\\zellauncher.log")
                                .value_or("");
    EXPECT_EQ(log.find("name-0-, "), std::string::npos);
    EXPECT_NE(log.find("name-1-, "), std::string::npos);
}

}  // namespace
