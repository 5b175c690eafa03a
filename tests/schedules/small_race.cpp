#include "schedules/small_race.h"

namespace schedules {

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

RacePlan supervisedRaceOf(const std::vector<std::uint32_t>& arrivals,
                          const std::vector<PlatformPlan>& platforms) {
    RacePlan plan = raceOf(InitialState::nothing, arrivals, platforms);
    plan.isLockdown = true;
    return plan;
}

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

}  // namespace schedules
