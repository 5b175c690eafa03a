#include <gtest/gtest.h>

#include <cstdio>
#include <string_view>

#include "schedules/exploration.h"
#include "support/run_length.h"

// Every order of two launchers' operations, up to a number of departures from the default, in which each
// continues until it sleeps or ends.
namespace {

using launchertest::isLongRun;
using schedules::Exploration;
using schedules::InitialState;
using schedules::isSharedOperation;
using schedules::RacePlan;

bool isAnyOperation(const char* /*name*/, const std::wstring& /*argument*/) {
    return true;
}

#ifndef ZELLAUNCHER_ORDINARY_DEPARTURES
#define ZELLAUNCHER_ORDINARY_DEPARTURES 2
#endif

int sharedDepartures() {
    return isLongRun() ? 3 : ZELLAUNCHER_ORDINARY_DEPARTURES;
}

Exploration exploreAll(const RacePlan& plan, schedules::IsSwitching isSwitching, int departures) {
    const Exploration exploration = explore(plan, isSwitching, departures);
    std::printf("%s: %llu schedules with at most %d departures, at most %zu switching points\n",
                ::testing::UnitTest::GetInstance()->current_test_info()->name(),
                static_cast<unsigned long long>(exploration.schedules), departures, exploration.mostPoints);
    for (const auto& [name, count] : exploration.outcomes) {
        std::printf("  %-45s %llu\n", name.c_str(), static_cast<unsigned long long>(count));
    }
    for (const auto& [overlap, count] : exploration.overlaps) {
        std::printf("  two platforms: %s: %llu\n", nameOf(overlap), static_cast<unsigned long long>(count));
    }
    return exploration;
}

// Two launchers that arrive at the same moment, and a platform that outlives both.
RacePlan twoLaunchers(InitialState initialState) {
    RacePlan plan;
    plan.initialState = initialState;
    plan.launchers.resize(2);
    plan.platforms.push_back({.publishesAfter = 200, .livesFor = 5000});
    return plan;
}

// In races in which no platform ends, both lists arrive and only one platform runs.
void expectAllDelivered(const Exploration& exploration) {
    EXPECT_EQ(exploration.outcomes.size(), 1U);
    EXPECT_EQ(exploration.outcomes.at("delivered"), exploration.schedules * 2);
    EXPECT_TRUE(exploration.overlaps.empty());
}

TEST(TwoLaunchers, DeliverOnAFirstStart) {
    expectAllDelivered(
        exploreAll(twoLaunchers(InitialState::nothing), isSharedOperation, sharedDepartures()));
}

TEST(TwoLaunchers, DeliverWithSwitchesAtEveryOperation) {
    expectAllDelivered(exploreAll(twoLaunchers(InitialState::nothing), isAnyOperation, isLongRun() ? 2 : 1));
}

TEST(TwoLaunchers, DeliverAfterADeadPlatform) {
    expectAllDelivered(
        exploreAll(twoLaunchers(InitialState::deadPlatform), isSharedOperation, sharedDepartures()));
}

TEST(TwoLaunchers, DeliverToARunningPlatform) {
    expectAllDelivered(
        exploreAll(twoLaunchers(InitialState::runningPlatform), isSharedOperation, sharedDepartures()));
}

// The platform ends at the moment at which the launchers arrive.
TEST(TwoLaunchers, NeverOverlapWhileThePlatformEnds) {
    RacePlan plan = twoLaunchers(InitialState::runningPlatform);
    plan.platforms.front().livesFor = 2;
    plan.launchers[0].arrivesAfter = 1;
    plan.launchers[1].arrivesAfter = 1;
    plan.platforms.push_back({.publishesAfter = 0, .livesFor = 5000});
    const Exploration exploration = exploreAll(plan, isSharedOperation, sharedDepartures());
    EXPECT_TRUE(exploration.overlaps.empty());
    EXPECT_GT(exploration.outcomes.count("delivered"), 0U);
    if (sharedDepartures() >= 2) {  // it ended after it was found and before its pipe was opened
        EXPECT_GT(exploration.outcomes.count("ZLNCH0142E"), 0U);
    }
}

// On a locked-down desktop, a start arrives at the moment at which the supervisor sees the crash.
TEST(TwoLaunchers, NeverOverlapAfterASupervisedCrash) {
    RacePlan plan = twoLaunchers(InitialState::nothing);
    plan.isLockdown = true;
    plan.launchers[1].arrivesAfter = 3540;  // the supervisor's fifth look
    plan.platforms = {{.publishesAfter = 0, .livesFor = 3100, .exitCode = 1},
                      {.publishesAfter = 200, .livesFor = 5000, .exitCode = 23}};
    expectAllDelivered(exploreAll(plan, isSharedOperation, sharedDepartures()));
}

}  // namespace
