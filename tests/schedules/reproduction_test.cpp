#include <gtest/gtest.h>

#include "schedules/race_plan.h"

namespace {

std::string recordOf(std::uint64_t seed) {
    schedules::Race race(schedules::planOf(seed));
    race.run();
    return race.record();
}

TEST(Race, SameSeedGivesTheSameRecord) {
    for (std::uint64_t seed = 1; seed <= 40; ++seed) {
        const std::string first = recordOf(seed);
        EXPECT_GT(first.size(), 1000U);
        EXPECT_TRUE(first == recordOf(seed)) << "seed " << seed;
        EXPECT_FALSE(first == recordOf(seed + 1000)) << "seed " << seed;
    }
}

}  // namespace
