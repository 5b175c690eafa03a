#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <string_view>

#include "schedules/exploration.h"

// Every order of two launchers' operations, up to a number of departures from the habit of letting
// each go on until it sleeps or ends.
namespace {

using schedules::Before;
using schedules::Exploration;
using schedules::Fate;
using schedules::isSharedOperation;
using schedules::RacePlan;

bool isAny(const char* /*name*/, const std::wstring& /*argument*/) {
    return true;
}

#ifndef ZELLAUNCHER_ORDINARY_DEPARTURES
#define ZELLAUNCHER_ORDINARY_DEPARTURES 2
#endif

bool isLong() {
    return std::getenv("ZELLAUNCHER_LONG") != nullptr;
}

int sharedDepartures() {
    return isLong() ? 3 : ZELLAUNCHER_ORDINARY_DEPARTURES;
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

// Two launchers who come at the same moment, and a platform that lives through both.
RacePlan twoLaunchers(Before before) {
    RacePlan plan;
    plan.before = before;
    plan.launchers.resize(2);
    plan.platforms.push_back({Fate::lives, 200, 5000, 0, {}});
    return plan;
}

// The outcomes of races in which nothing dies: both lists arrive, and there is one platform.
void expectAllDelivered(const Exploration& exploration) {
    EXPECT_EQ(exploration.outcomes.size(), 1U);
    EXPECT_EQ(exploration.outcomes.at("delivered"), exploration.schedules * 2);
    EXPECT_TRUE(exploration.overlaps.empty());
}

TEST(TwoLaunchers, FirstStartAtEverySharedOperation) {
    expectAllDelivered(exploreAll(twoLaunchers(Before::nothing), isSharedOperation, sharedDepartures()));
}

TEST(TwoLaunchers, FirstStartAtEveryOperation) {
    expectAllDelivered(exploreAll(twoLaunchers(Before::nothing), isAny, isLong() ? 2 : 1));
}

TEST(TwoLaunchers, AfterAPlatformThatDied) {
    expectAllDelivered(exploreAll(twoLaunchers(Before::deadPlatform), isSharedOperation, sharedDepartures()));
}

TEST(TwoLaunchers, BesideAPlatformThatRuns) {
    expectAllDelivered(
        exploreAll(twoLaunchers(Before::runningPlatform), isSharedOperation, sharedDepartures()));
}

// The platform is there and ends at the moment at which the launchers come.
TEST(TwoLaunchers, WhileThePlatformEnds) {
    RacePlan plan = twoLaunchers(Before::runningPlatform);
    plan.platforms.front().livesFor = 2;
    plan.launchers[0].arrivesAfter = 1;
    plan.launchers[1].arrivesAfter = 1;
    plan.platforms.push_back({Fate::lives, 0, 5000, 0, {}});
    const Exploration exploration = exploreAll(plan, isSharedOperation, sharedDepartures());
    EXPECT_TRUE(exploration.overlaps.empty());
    EXPECT_GT(exploration.outcomes.count("delivered"), 0U);
    if (sharedDepartures() >= 2) {  // it went between the look and the pipe
        EXPECT_GT(exploration.outcomes.count("ZLNCH0142E"), 0U);
    }
}

}  // namespace
