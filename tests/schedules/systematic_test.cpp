#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <string_view>

#include "schedules/race.h"

// Every order of two launchers' operations, up to a number of pre-emptions.
//
// A run without choices lets each process go on until it sleeps or ends, and records the points at
// which another one could have gone on instead. From each of these points, and from each alternative
// there, a run is made with that one choice; from each of these runs' later points the runs with two
// choices, and so on. So all schedules with at most so many departures from the habit are run, each
// once, whether a departure pre-empts somebody or lets another one go first.
namespace {

using schedules::Before;
using schedules::Fate;
using schedules::PlatformPlan;
using schedules::Race;
using schedules::RacePlan;
using schedules::RaceReport;
using simulation::Choice;

using IsSwitching = bool (*)(const char*, const std::wstring&);

// What launchers and platforms share outside of the lock: the lock file, the endpoint, the sign of
// life, the pipe, the record of the process, the log; and the start of a platform.
bool isShared(const char* name, const std::wstring& argument) {
    const std::string_view operation = name;
    if (operation == "createProcess" || operation == "writePipe" || operation == "tickCount" ||
        operation == "closeHandle" || operation == "exitProcess") {
        return true;
    }
    for (const wchar_t* part :
         {L".zel.", L".pipe", L"\\\\.\\pipe", L"Global\\", L"\\logs", L"zellauncher.log"}) {
        if (argument.find(part) != std::wstring::npos) {
            return true;
        }
    }
    return false;
}

bool isAny(const char* /*name*/, const std::wstring& /*argument*/) {
    return true;
}

std::string textOf(const std::vector<Choice>& choices) {
    std::string text;
    for (const Choice& choice : choices) {
        text += " " + std::to_string(choice.point) + ":" + std::to_string(choice.candidate);
    }
    return text;
}

class Exploration {
public:
    Exploration(const RacePlan& racePlan, IsSwitching switching) : plan(racePlan), isSwitching(switching) {}

    // Runs the schedule with these choices, and all that depart from it up to `departures` more times.
    void explore(std::vector<Choice>& choices, int departures) {
        const std::vector<simulation::SwitchingPoint> points = run(choices);
        const std::size_t first = choices.empty() ? 0 : choices.back().point + 1;
        if (departures == 0 || ::testing::Test::HasFailure()) {
            return;
        }
        for (std::size_t point = first; point < points.size(); ++point) {
            for (std::size_t candidate = 0; candidate < points[point].candidates; ++candidate) {
                if (candidate != points[point].habit) {
                    choices.push_back({point, candidate});
                    explore(choices, departures - 1);
                    choices.pop_back();
                }
            }
        }
    }

    std::uint64_t schedules = 0;
    std::size_t mostPoints = 0;
    std::map<std::string, std::uint64_t> outcomes;
    std::map<schedules::Overlap, std::uint64_t> overlaps;

private:
    std::vector<simulation::SwitchingPoint> run(const std::vector<Choice>& choices) {
        Race race(plan);
        race.switchOnlyAt(isSwitching);
        race.followChoices(choices);
        const RaceReport report = race.run();
        for (const std::string& violation : report.violations) {
            ADD_FAILURE() << violation << "\n" << describe(plan) << "  choices:" << textOf(choices);
        }
        ++schedules;
        for (const auto& [name, count] : report.outcomes) {
            outcomes[name] += static_cast<std::uint64_t>(count);
        }
        for (const auto& [overlap, count] : report.overlaps) {
            overlaps[overlap] += static_cast<std::uint64_t>(count);
        }
        std::vector<simulation::SwitchingPoint> points = race.theMachine().switchingPoints();
        mostPoints = std::max(mostPoints, points.size());
        return points;
    }

    RacePlan plan;
    IsSwitching isSwitching;
};

bool isLong() {
    return std::getenv("ZELLAUNCHER_LONG") != nullptr;
}

Exploration exploreAll(const RacePlan& plan, IsSwitching isSwitching, int departures) {
    Exploration exploration(plan, isSwitching);
    std::vector<Choice> choices;
    exploration.explore(choices, departures);
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
    expectAllDelivered(exploreAll(twoLaunchers(Before::nothing), isShared, isLong() ? 3 : 2));
}

TEST(TwoLaunchers, FirstStartAtEveryOperation) {
    expectAllDelivered(exploreAll(twoLaunchers(Before::nothing), isAny, isLong() ? 2 : 1));
}

TEST(TwoLaunchers, AfterAPlatformThatDied) {
    expectAllDelivered(exploreAll(twoLaunchers(Before::deadPlatform), isShared, isLong() ? 3 : 2));
}

TEST(TwoLaunchers, BesideAPlatformThatRuns) {
    expectAllDelivered(exploreAll(twoLaunchers(Before::runningPlatform), isShared, isLong() ? 3 : 2));
}

// The platform is there and ends at the moment at which the launchers come.
TEST(TwoLaunchers, WhileThePlatformEnds) {
    RacePlan plan = twoLaunchers(Before::runningPlatform);
    plan.platforms.front().livesFor = 2;
    plan.launchers[0].arrivesAfter = 1;
    plan.launchers[1].arrivesAfter = 1;
    plan.platforms.push_back({Fate::lives, 0, 5000, 0, {}});
    const Exploration exploration = exploreAll(plan, isShared, isLong() ? 3 : 2);
    EXPECT_TRUE(exploration.overlaps.empty());
    EXPECT_GT(exploration.outcomes.count("delivered"), 0U);
    EXPECT_GT(exploration.outcomes.count("ZLNCH0142E"), 0U);  // it went between the look and the pipe
}

}  // namespace
