#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>

#include "schedules/small_race.h"

// A locked-down desktop, on which the launcher that supervises a platform starts it again after a crash.
// Other launchers may start, and supervise, a platform at the same moment. Only one runs.
namespace {

using schedules::Fate;
using schedules::PlatformPlan;
using schedules::Race;
using schedules::RacePlan;
using schedules::RaceReport;
using schedules::supervisedRaceOf;

constexpr int crash = 1;
// Ends the race: the platform ends with 23 and does not restart itself.
constexpr PlatformPlan lastPlatform = {.publishesAfter = 0, .livesFor = 60000, .exitCode = 23};

// Expects that this many platforms ran, one after the other.
void expectPlatforms(std::ptrdiff_t count, const RacePlan& plan) {
    Race race(plan);
    race.followChoices({});
    const RaceReport report = race.run();
    EXPECT_EQ(report.violations, std::vector<std::string>());
    EXPECT_TRUE(report.overlaps.empty());
    const auto& children = race.theMachine().startedProcesses();
    const auto platforms = std::count_if(children.begin(), children.end(), [](const auto& child) {
        return child.commandLine.find(L"eclipse.exe") != std::wstring::npos;
    });
    EXPECT_EQ(platforms, count) << describe(plan);
}

// The platform crashes after 3 seconds, and the next one needs 5 seconds for its pipe file.
TEST(SupervisedDesktop, StartDuringARerunFindsItsPlatform) {
    for (std::uint32_t arrival = 2000; arrival <= 9000; arrival += 100) {
        expectPlatforms(
            2, supervisedRaceOf({0, arrival}, {{.publishesAfter = 0, .livesFor = 3000, .exitCode = crash},
                                               {.publishesAfter = 5000, .livesFor = 60000, .exitCode = 23},
                                               lastPlatform}));
    }
}

// The supervisor looks for the end of its platform at 3.0 s and 3.5 s.
TEST(SupervisedDesktop, StartBeforeTheRerunTakesThePlatformOver) {
    for (std::uint32_t arrival = 3050; arrival <= 3600; arrival += 10) {
        expectPlatforms(
            2, supervisedRaceOf(
                   {0, arrival},
                   {{.publishesAfter = 0, .livesFor = 3100, .exitCode = crash}, lastPlatform, lastPlatform}));
    }
}

// The launcher of the restart supervises the new platform, and so does the first launcher, which watches
// every eclipse.exe.
TEST(SupervisedDesktop, OneOfTwoSupervisorsStartsThePlatformAgain) {
    const PlatformPlan restarting = {
        .fate = Fate::restarts, .publishesAfter = 0, .livesFor = 3000, .exitCode = 24};
    for (std::uint32_t life = 10000; life <= 14000; life += 250) {
        const PlatformPlan crashing = {.publishesAfter = 0, .livesFor = life, .exitCode = crash};
        expectPlatforms(3, supervisedRaceOf({0}, {restarting, crashing, lastPlatform, lastPlatform}));
        expectPlatforms(
            5, supervisedRaceOf({0}, {restarting, crashing, crashing, crashing, lastPlatform, lastPlatform}));
    }
}

TEST(SupervisedDesktop, RestartsAndCrashesTakeTurns) {
    const PlatformPlan restarting = {
        .fate = Fate::restarts, .publishesAfter = 0, .livesFor = 8000, .exitCode = 24};
    const PlatformPlan restartingByWord = {
        .fate = Fate::restarts, .publishesAfter = 0, .livesFor = 8000, .word = "RESTART"};
    const PlatformPlan restartingItself = {
        .fate = Fate::restartsItself, .publishesAfter = 0, .livesFor = 8000, .exitCode = 23};
    const PlatformPlan crashing = {.publishesAfter = 200, .livesFor = 8000, .exitCode = crash};
    expectPlatforms(7, supervisedRaceOf({0}, {restarting, restarting, crashing, restartingByWord, crashing,
                                              crashing, lastPlatform, lastPlatform}));
    expectPlatforms(6, supervisedRaceOf({0}, {restartingItself, crashing, restartingItself, restarting,
                                              crashing, lastPlatform, lastPlatform}));
}

// A launcher that hangs while it holds the lock delays the rerun by five minutes at most.
TEST(SupervisedDesktop, HungLauncherDoesNotLeaveItEmpty) {
    RacePlan plan = supervisedRaceOf(
        {0, 3000}, {{.publishesAfter = 0, .livesFor = 3100, .exitCode = crash}, lastPlatform, lastPlatform});
    plan.stall = simulation::Stall{"waitNamedPipe", L"", 1'000'000};
    Race race(plan);
    race.followChoices({});
    race.run();
    ASSERT_EQ(race.theMachine().startedProcesses().size(), 2U);
    EXPECT_FALSE(race.theMachine().isRunning(race.theMachine().startedProcesses()[1].id));
}

}  // namespace
