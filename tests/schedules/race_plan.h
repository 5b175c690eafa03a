#pragma once

#include <cstdint>

#include "schedules/race.h"

namespace schedules {

// Draws a race of two to eight launchers: when they arrive and with which arguments, what the platforms
// do, and how often the machine switches. The same seed always gives the same race.
RacePlan planOf(std::uint64_t seed);

}  // namespace schedules
