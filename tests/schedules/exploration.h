#pragma once

#include <cstdint>
#include <map>
#include <string>

#include "schedules/race.h"

namespace schedules {

// Whether another process may continue before this operation (its name, its first text argument).
using IsSwitching = bool (*)(const char*, const std::wstring&);

// True for the operations on what launchers and platforms share: lock file, `.zel.main`, pipe file,
// semaphore, pipe, log, start and end of a process. Switching at other operations as well gives no
// further results.
bool isSharedOperation(const char* name, const std::wstring& argument);

// The results of all schedules of a race.
struct Exploration {
    std::uint64_t schedules = 0;
    std::size_t mostPoints = 0;  // switching points with more than one candidate, in one run
    std::map<std::string, std::uint64_t> outcomes;
    std::map<Overlap, std::uint64_t> overlaps;
};

// Runs each schedule with at most `departures` departures from the default once. By default a process
// continues until it sleeps or ends, then the first one that can. A departure pre-empts it, or lets
// another one go first. Violations are failures of the current test and end the exploration.
Exploration explore(const RacePlan& plan, IsSwitching isSwitching, int departures);

}  // namespace schedules
