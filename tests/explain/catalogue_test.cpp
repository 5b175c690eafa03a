#include <gtest/gtest.h>

#include "explain/comparison.h"
#include "reliability/scenario.h"

// Every scenario of the fault catalogue, without its faults.
namespace {

class ExplainedScenario : public testing::TestWithParam<std::string> {};

TEST_P(ExplainedScenario, IsWhatTheStartDoes) {
    const reliability::Rehearsal rehearsal(reliability::scenarioCalled(GetParam()));
    // The scenario's disks have process ids of another machine, which must not be met again.
    constexpr simulation::ProcessId idsOfThePast = 2000;
    const auto stage = rehearsal.stage();
    stage->machine.setLastProcessId(idsOfThePast);
    explaintest::StartToCompare start;
    start.name = "catalogue." + GetParam();
    start.arguments = {rehearsal.scenario.program};
    for (const std::wstring& argument : rehearsal.scenario.arguments) {
        const bool isId = argument == reliability::platformId;
        start.arguments.push_back(isId ? std::to_wstring(stage->machine.startedProcesses().back().id)
                                       : argument);
    }
    start.begin = [&] { return stage->begin(rehearsal.scenario.arguments); };
    const explaintest::ComparedStart compared = explaintest::compareStart(stage->machine, start);
    EXPECT_TRUE(compared.isCompared);
    // No option of zelexplain says that the running platform ends while the start waits for it.
    if (GetParam() == "restart_of_ending_platform") {
        EXPECT_FALSE(compared.differences.empty());
        return;
    }
    for (const std::string& difference : compared.differences) {
        ADD_FAILURE() << difference;
    }
}

std::vector<std::string> names() {
    std::vector<std::string> all;
    for (const reliability::Scenario& scenario : reliability::catalogue()) {
        all.push_back(scenario.name);
    }
    return all;
}

INSTANTIATE_TEST_SUITE_P(Catalogue, ExplainedScenario, testing::ValuesIn(names()),
                         [](const auto& name) { return name.param; });

}  // namespace
