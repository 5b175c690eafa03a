#include "schedules/exploration.h"

#include <algorithm>
#include <string_view>
#include <vector>

// A run without choices records the points at which another process could have continued. Each
// alternative at each point gives a run with that one choice, whose later points give the runs with two
// choices, and so on.

namespace schedules {

namespace {

using Choices = std::vector<simulation::Choice>;
using Points = std::vector<simulation::SwitchingPoint>;

std::string textOf(const Choices& choices) {
    std::string text;
    for (const simulation::Choice& choice : choices) {
        text += " " + std::to_string(choice.point) + ":" + std::to_string(choice.candidate);
    }
    return text;
}

class Explorer {
public:
    Explorer(const RacePlan& racePlan, IsSwitching switching) : plan(racePlan), isSwitching(switching) {}

    // Runs the schedule with these choices, and all that add up to `departures` later ones.
    void exploreFrom(Choices& choices, int departures) {
        const Points points = run(choices);
        if (departures == 0 || ::testing::Test::HasFailure()) {
            return;
        }
        const std::size_t first = choices.empty() ? 0 : choices.back().point + 1;
        for (std::size_t point = first; point < points.size(); ++point) {
            for (std::size_t candidate = 0; candidate < points[point].candidates; ++candidate) {
                if (candidate != points[point].habit) {
                    choices.push_back({point, candidate});
                    exploreFrom(choices, departures - 1);
                    choices.pop_back();
                }
            }
        }
    }

    Exploration exploration;

private:
    Points run(const Choices& choices) {
        Race race(plan);
        race.switchOnlyAt(isSwitching);
        race.followChoices(choices);
        const RaceReport report = race.run();
        for (const std::string& violation : report.violations) {
            ADD_FAILURE() << violation << "\n" << describe(plan) << "  choices:" << textOf(choices);
        }
        ++exploration.schedules;
        for (const auto& [name, count] : report.outcomes) {
            exploration.outcomes[name] += static_cast<std::uint64_t>(count);
        }
        for (const auto& [overlap, count] : report.overlaps) {
            exploration.overlaps[overlap] += static_cast<std::uint64_t>(count);
        }
        Points points = race.theMachine().switchingPoints();
        exploration.mostPoints = std::max(exploration.mostPoints, points.size());
        return points;
    }

    const RacePlan& plan;
    IsSwitching isSwitching;
};

}  // namespace

bool isSharedOperation(const char* name, const std::wstring& argument) {
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

Exploration explore(const RacePlan& plan, IsSwitching isSwitching, int departures) {
    Explorer explorer(plan, isSwitching);
    Choices choices;
    explorer.exploreFrom(choices, departures);
    return explorer.exploration;
}

}  // namespace schedules
