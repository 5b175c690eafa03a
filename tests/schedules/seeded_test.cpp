#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>

#include "schedules/race.h"
#include "schedules/race_plan.h"
#include "support/run_length.h"

namespace {

using schedules::Race;
using schedules::RacePlan;
using schedules::RaceReport;

std::uint64_t numberFromEnvironment(const char* name, std::uint64_t otherwise) {
    const char* text = std::getenv(name);
    return text == nullptr ? otherwise : std::strtoull(text, nullptr, 10);
}

#ifndef ZELLAUNCHER_ORDINARY_SCHEDULES
#define ZELLAUNCHER_ORDINARY_SCHEDULES 300
#endif
constexpr std::uint64_t longSchedules = 1'000'000;

// Races from seed 1 until each overlap must have happened; a restart that is taken for a crash is the rarest.
constexpr std::uint64_t schedulesForMostOverlaps = 300;
constexpr std::uint64_t schedulesForEveryOverlap = 1000;

std::uint64_t scheduleCount() {
    return numberFromEnvironment("ZELLAUNCHER_SCHEDULES",
                                 launchertest::isLongRun() ? longSchedules : ZELLAUNCHER_ORDINARY_SCHEDULES);
}

// The results of many races.
struct Tally {
    std::uint64_t races = 0;
    std::uint64_t operations = 0;
    std::uint64_t longestWait = 0;
    int endsInLogs = 0;
    std::map<std::string, std::uint64_t> outcomes;
    std::map<schedules::Overlap, std::uint64_t> overlaps;

    void add(const Race& race, const RaceReport& report) {
        ++races;
        operations += race.theMachine().operationCount();
        longestWait = std::max(longestWait, report.longestWait);
        endsInLogs += report.endsInLogs;
        for (const auto& [name, count] : report.outcomes) {
            outcomes[name] += static_cast<std::uint64_t>(count);
        }
        for (const auto& [overlap, count] : report.overlaps) {
            overlaps[overlap] += static_cast<std::uint64_t>(count);
        }
    }
    // Races in which nothing goes wrong would prove nothing.
    void expectEverythingHappened() const {
        EXPECT_GT(endsInLogs, 0);
        for (const char* outcome :
             {"delivered", "supervises", "waits for a platform that never serves its pipe", "ZLNCH0142E",
              "ZLNCH0145E"}) {
            EXPECT_TRUE(outcomes.count(outcome) != 0) << outcome;
        }
        std::vector<schedules::Overlap> expected = {
            schedules::Overlap::slowPlatform, schedules::Overlap::ownerBlanked,
            schedules::Overlap::rememberedName, schedules::Overlap::restartGap,
            schedules::Overlap::lockTimeout};
        if (races >= schedulesForEveryOverlap) {
            expected.push_back(schedules::Overlap::takenForCrash);
        }
        for (const schedules::Overlap overlap : expected) {
            EXPECT_TRUE(overlaps.count(overlap) != 0) << nameOf(overlap);
        }
    }
    void print() const {
        std::printf("%llu schedules, %llu operations, longest wait of a launcher %llu ms\n",
                    static_cast<unsigned long long>(races), static_cast<unsigned long long>(operations),
                    static_cast<unsigned long long>(longestWait));
        for (const auto& [name, count] : outcomes) {
            std::printf("  %-50s %llu\n", name.c_str(), static_cast<unsigned long long>(count));
        }
        for (const auto& [overlap, count] : overlaps) {
            std::printf("  two platforms: %s: %llu\n", nameOf(overlap),
                        static_cast<unsigned long long>(count));
        }
    }
};

void runSeed(std::uint64_t seed, Tally& tally) {
    const RacePlan plan = schedules::planOf(seed);
    Race race(plan);
    const RaceReport report = race.run();
    tally.add(race, report);
    if (std::getenv("ZELLAUNCHER_RECORD") != nullptr) {
        std::printf("%s", race.record().c_str());
    }
    for (const std::string& violation : report.violations) {
        ADD_FAILURE() << violation << "\n"
                      << schedules::describe(plan) << "  repeat: ZELLAUNCHER_SEED=" << seed
                      << " ZELLAUNCHER_SCHEDULES=1 build/native/tests/schedules/schedules "
                         "--gtest_filter=SeededSchedules.*";
    }
}

TEST(SeededSchedules, StartOnePlatformAndDeliverEachListOnce) {
    const std::uint64_t first = numberFromEnvironment("ZELLAUNCHER_SEED", 1);
    const std::uint64_t count = scheduleCount();
    Tally tally;
    for (std::uint64_t seed = first; seed < first + count; ++seed) {
        runSeed(seed, tally);
        if (HasFailure() && count > 1) {
            break;
        }
    }
    tally.print();
    if (first == 1 && tally.races >= schedulesForMostOverlaps) {
        tally.expectEverythingHappened();
    }
}

}  // namespace
