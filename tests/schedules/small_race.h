#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "schedules/race.h"

// Small races without a draw: each process continues until it sleeps or ends, then the first one that can.
namespace schedules {

// `arrivals` are in milliseconds, one per launcher.
RacePlan raceOf(InitialState initialState, const std::vector<std::uint32_t>& arrivals,
                const std::vector<PlatformPlan>& platforms);

// The same for a new user of a locked-down desktop.
RacePlan supervisedRaceOf(const std::vector<std::uint32_t>& arrivals,
                          const std::vector<PlatformPlan>& platforms);

// Violations are failures of the current test.
RaceReport runWithoutSwitches(const RacePlan& plan);

int overlapsIn(const RaceReport& report, Overlap overlap);

}  // namespace schedules
