#include <gtest/gtest.h>

#include "schedules/small_race.h"

// What cannot be avoided with this order of steps: when two platforms run for one workspace, which launchers
// wait without a limit, and whose log is lost. Each test is the smallest race that shows its case.
namespace {

using schedules::Fate;
using schedules::InitialState;
using schedules::Overlap;
using schedules::overlapsIn;
using schedules::PlatformPlan;
using schedules::Publishing;
using schedules::Race;
using schedules::raceOf;
using schedules::RacePlan;
using schedules::RaceReport;
using schedules::runWithoutSwitches;
using schedules::supervisedRaceOf;

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
TEST(TwoPlatforms, RunIfALatePipeFileIsMistaken) {
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
TEST(TwoPlatforms, RunIfThePipeFileStartsEmpty) {
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
TEST(TwoPlatforms, RunIfTheOldPipeFileStaysOpen) {
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
TEST(TwoPlatforms, RunIfTheFirstLosesItsPipeFile) {
    const auto arrivingAfter = [](std::uint32_t milliseconds) {
        return runWithoutSwitches(raceOf(InitialState::nothing, {0, 5000, milliseconds},
                                         {{.publishesAfter = 20000, .livesFor = 1000},
                                          {.publishesAfter = 200, .livesFor = 60000},
                                          PlatformPlan()}));
    };
    EXPECT_EQ(overlapsIn(arrivingAfter(20500), Overlap::consequence), 0);
    EXPECT_EQ(overlapsIn(arrivingAfter(21500), Overlap::consequence), 1);  // the last one ended at 21 s
}

// A platform that restarts itself is not recorded, and no launcher holds the lock until it has published.
TEST(TwoPlatforms, RunIfARestartedPlatformHasNotPublished) {
    const auto arrivingAfter = [](std::uint32_t milliseconds) {
        return runWithoutSwitches(
            raceOf(InitialState::nothing, {0, milliseconds},
                   {{.fate = Fate::restartsItself, .publishesAfter = 0, .livesFor = 3000, .exitCode = 23},
                    {.publishesAfter = 2000, .livesFor = 60000},
                    PlatformPlan()}));
    };
    EXPECT_TRUE(arrivingAfter(2900).overlaps.empty());
    EXPECT_EQ(overlapsIn(arrivingAfter(4000), Overlap::restartGap), 1);  // it is there from 3 s to 5 s
    EXPECT_TRUE(arrivingAfter(5100).overlaps.empty());
}

// The one that ends the race on a locked-down desktop: it ends with 23 and does not restart itself.
constexpr PlatformPlan lastPlatform = {.publishesAfter = 0, .livesFor = 60000, .exitCode = 23};

// The supervisor reads .exitData only once, so the second RESTART is a crash to it.
TEST(TwoPlatforms, RunAfterASecondRestartByWord) {
    const auto restartingTwiceWith = [](const PlatformPlan& restart) {
        return runWithoutSwitches(supervisedRaceOf({0}, {restart, restart, lastPlatform, lastPlatform}));
    };
    const PlatformPlan byWord = {
        .fate = Fate::restartsItself, .publishesAfter = 0, .livesFor = 10000, .word = "RESTART"};
    const PlatformPlan byExitCode = {
        .fate = Fate::restartsItself, .publishesAfter = 0, .livesFor = 10000, .exitCode = 23};
    EXPECT_EQ(overlapsIn(restartingTwiceWith(byWord), Overlap::takenForCrash), 1);
    EXPECT_TRUE(restartingTwiceWith(byExitCode).overlaps.empty());
}

// The platform asks a launcher for its restart but ends as if it had crashed. The supervisor looks at most
// half a second later; the launcher of the restart looks once a second, for the pipe name that it read after
// 1 s.
TEST(TwoPlatforms, RunIfASupervisorOvertakesTheRestart) {
    const auto endingAfter = [](std::uint32_t milliseconds) {
        return runWithoutSwitches(supervisedRaceOf({0}, {{.fate = Fate::restarts,
                                                          .publishesAfter = 0,
                                                          .livesFor = 3000,
                                                          .endsAfterRestart = milliseconds,
                                                          .exitCode = 1},
                                                         lastPlatform,
                                                         lastPlatform}));
    };
    EXPECT_TRUE(endingAfter(400).overlaps.empty());
    EXPECT_EQ(overlapsIn(endingAfter(1200), Overlap::rememberedName), 1);
}

// A supervisor does not wait longer than five minutes for a launcher that holds the lock. Here a start
// becomes the main process after the crash and stalls when it opens its log.
TEST(TwoPlatforms, RunIfTheLockStaysTakenTooLong) {
    const auto stallingFor = [](std::uint32_t milliseconds) {
        RacePlan plan =
            supervisedRaceOf({0, 3200}, {{.publishesAfter = 0, .livesFor = 3100, .exitCode = 1},
                                         {.publishesAfter = 0, .livesFor = 300000, .exitCode = 23}});
        plan.launchers[1].arguments = {L"-debug"};
        plan.stall = simulation::Stall{"openStream", L"_200.log", milliseconds};
        return runWithoutSwitches(plan);
    };
    EXPECT_TRUE(stallingFor(290000).overlaps.empty());
    EXPECT_EQ(overlapsIn(stallingFor(310000), Overlap::lockTimeout), 1);
}

// A launcher waits for a free instance of the pipe without a limit, and later launchers wait for the
// lock. Once the platform has ended, the first one fails and the second starts another platform.
TEST(LauncherWait, HasNoLimitForAnUnservedPipe) {
    const RaceReport report =
        runWithoutSwitches(raceOf(InitialState::nothing, {0, 1000, 2000},
                                  {{.fate = Fate::neverServes, .publishesAfter = 0, .livesFor = 0}}));
    EXPECT_EQ(report.outcomes.at("delivered"), 1);
    EXPECT_EQ(report.outcomes.at("waits for a platform that never serves its pipe"), 2);
}

// A platform that is frozen takes no text that does not fit into its pipe's buffer. Its end releases the
// launcher that writes, which fails, and then the one that waits for the lock, which starts another platform.
TEST(LauncherWait, EndsWithAFrozenPlatform) {
    const auto withBuffer = [](std::size_t size) {
        return runWithoutSwitches(
            raceOf(InitialState::nothing, {0, 1000, 2000},
                   {{.fate = Fate::freezes, .publishesAfter = 0, .livesFor = 100000, .pipeBuffer = size},
                    PlatformPlan()}));
    };
    const RaceReport tooSmall = withBuffer(512);
    EXPECT_EQ(tooSmall.outcomes.at("ZLNCH0144E"), 1);
    EXPECT_EQ(tooSmall.outcomes.at("delivered"), 2);
    EXPECT_GE(tooSmall.longestWait, 98000U);
    const RaceReport largeEnough = withBuffer(65536);  // for one text, which is not read
    EXPECT_EQ(largeEnough.outcomes.at("ZLNCH0142E"), 1);
    EXPECT_EQ(largeEnough.outcomes.at("delivered"), 2);
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
