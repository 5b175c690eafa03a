#include <gtest/gtest.h>

#include "guard/allocations.h"
#include "guard/counts.h"
#include "reliability/scenario.h"

// How much each kind of start asks the system for. The simulated machine counts without noise.
namespace {

std::string nameOf(const reliability::Scenario& scenario) {
    std::string name = scenario.name;
    for (char& character : name) {
        character = character == ' ' ? '-' : character;
    }
    return name;
}

TEST(Guard, NoKindOfStartAsksTheSystemForMore) {
    guard::Counts counts;
    for (const reliability::Scenario& scenario : reliability::catalogue()) {
        const reliability::Rehearsal rehearsal(scenario);
        const auto stage = rehearsal.stage();
        counts[nameOf(scenario)] = reliability::perform(*stage, scenario.arguments).operations.size();
    }
    guard::expectNoGrowth(GUARD_DIRECTORY "/operations.txt", counts);
}

TEST(Guard, NoKindOfStartAllocatesMore) {
    guard::Counts counts;
    for (const reliability::Scenario& scenario : reliability::catalogue()) {
        const reliability::Rehearsal rehearsal(scenario);
        const auto stage = rehearsal.stage();
        counts[nameOf(scenario)] =
            guard::launcherAllocations([&] { reliability::perform(*stage, scenario.arguments); });
    }
    guard::expectNoGrowth(GUARD_DIRECTORY "/allocations.txt", counts);
}

}  // namespace
