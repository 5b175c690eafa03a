#pragma once

#include <cstdint>
#include <map>
#include <string>

#include "schedules/race.h"

namespace schedules {

// Whether others may go on at the head of this operation (its name, its first text argument).
using IsSwitching = bool (*)(const char*, const std::wstring&);

// What launchers and platforms share outside of the lock: the lock file, the endpoint, the sign of
// life, the pipe, the record of the process, the log; and the start and the end of a process. An order
// of the other operations has the effect of one in which they stand elsewhere.
bool isSharedOperation(const char* name, const std::wstring& argument);

// What all schedules of a race came to.
struct Exploration {
    std::uint64_t schedules = 0;
    std::size_t mostPoints = 0;  // at which more than one process could go on, in one run
    std::map<std::string, std::uint64_t> outcomes;
    std::map<Overlap, std::uint64_t> overlaps;
};

// Runs every schedule that departs at most so many times from the habit, each once. A process goes on
// until it sleeps or ends, then the first one that can; a departure pre-empts it, or lets another one
// go first. Violations are failures of the current test and end the exploration.
Exploration explore(const RacePlan& plan, IsSwitching isSwitching, int departures);

}  // namespace schedules
