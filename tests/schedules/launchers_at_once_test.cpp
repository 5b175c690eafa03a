#include <gtest/gtest.h>

#include <cstdint>

#include "schedules/race.h"

// A user opens many documents at once, which starts as many launchers, and a platform runs already.
namespace {

using schedules::InitialState;
using schedules::Race;
using schedules::RacePlan;
using schedules::RaceReport;

// Operations take time: now and then one is a few milliseconds late.
RacePlan planOf(std::size_t launchers, std::uint64_t seed) {
    RacePlan plan;
    plan.seed = seed;
    plan.initialState = InitialState::runningPlatform;
    plan.launchers.resize(launchers);
    for (std::size_t i = 0; i < launchers; ++i) {
        plan.launchers[i].arguments = {L"document" + std::to_wstring(i)};
    }
    plan.platforms = {{.livesFor = 600'000}};
    plan.switching = {.oneIn = 3, .stallOneIn = 8, .longestStallMilliseconds = 20};
    return plan;
}

std::uint64_t millisecondsUntilTheLast(std::size_t launchers, std::uint64_t seed) {
    Race race(planOf(launchers, seed));
    const RaceReport report = race.run();
    EXPECT_EQ(report.violations, std::vector<std::string>());
    EXPECT_EQ(report.outcomes, (std::map<std::string, int>{{"delivered", static_cast<int>(launchers)}}));
    return report.longestWait;
}

// With one attempt at the lock a second, the last one would need four times as long.
TEST(LaunchersAtOnce, LastOneDeliversSoonerThanOneAfterTheOther) {
    for (const std::size_t launchers : {10U, 20U, 50U}) {
        std::uint64_t inTurn = 0;
        for (std::size_t i = 0; i < launchers; ++i) {
            inTurn += millisecondsUntilTheLast(1, 1 + i);
        }
        const std::uint64_t atOnce = millisecondsUntilTheLast(launchers, 1);
        EXPECT_LE(atOnce, inTurn) << launchers;
    }
}

}  // namespace
