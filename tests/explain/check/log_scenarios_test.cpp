#include <gtest/gtest.h>

#include "explain/log/log_reading.h"
#include "reliability/scenario.h"

// For every scenario of the fault catalogue, and with every log line of a debug start: the log says what
// happened.
namespace {

using explain::LogOutcome;
using reliability::Performance;
using reliability::Rehearsal;
using reliability::Scenario;
using reliability::Stage;

std::vector<std::wstring> logsOn(const simulation::Machine& machine) {
    std::vector<std::wstring> logs;
    for (const wchar_t* drive : {L"C:\\", L"D:\\"}) {
        for (const std::wstring& path : machine.tree(drive)) {
            if (reliability::isLogOfAStart(path)) {
                logs.push_back(path);
            }
        }
    }
    return logs;
}

// What the machine shows, without the log.
LogOutcome outcomeOf(const Performance& performance) {
    if (!performance.end || performance.tookShellRole()) {
        return LogOutcome::unfinished;
    }
    if (!performance.endedWell()) {
        return LogOutcome::refused;
    }
    if (!performance.payloads.empty()) {
        return LogOutcome::handedOver;
    }
    if (performance.commands.empty()) {
        return LogOutcome::prepared;
    }
    const bool isProvisioning = performance.commands.front().find(L"com.example.prov") != std::wstring::npos;
    return isProvisioning ? LogOutcome::provisioned : LogOutcome::started;
}

void compare(const Scenario& scenario, const Rehearsal& rehearsal, bool isDebug) {
    const std::unique_ptr<Stage> stage = rehearsal.stage();
    for (const std::wstring& log : logsOn(stage->machine)) {
        stage->machine.remove(log);
    }
    reliability::Arguments arguments = scenario.arguments;
    if (isDebug) {
        arguments.emplace_back(L"-debug");
    }
    const Performance performance = reliability::perform(*stage, arguments);
    const std::vector<std::wstring> logs = logsOn(stage->machine);
    ASSERT_EQ(logs.size(), 1U) << scenario.name;
    const explain::LogResult result = explain::readLog(*stage->machine.readFile(logs.front()));
    ASSERT_EQ(result.fault, explain::LogFault::none) << scenario.name;
    EXPECT_STREQ(explain::nameOf(result.reading.outcome), explain::nameOf(outcomeOf(performance)))
        << scenario.name << "\n"
        << *stage->machine.readFile(logs.front());
    if (result.reading.status && performance.end) {
        EXPECT_EQ(static_cast<std::uint32_t>(*result.reading.status), performance.end->status)
            << scenario.name;
    }
    EXPECT_EQ(result.reading.message.has_value(), performance.end && !performance.endedWell())
        << scenario.name;
}

TEST(LogOfScenarios, HasTheRealOutcome) {
    for (const Scenario& scenario : reliability::catalogue()) {
        const Rehearsal rehearsal(scenario);
        compare(scenario, rehearsal, false);
        compare(scenario, rehearsal, true);
    }
}

// The catalogue says which lines every good start logs.
TEST(LogOfScenarios, GoodOnesHaveTheLinesOfEveryGoodStart) {
    std::size_t good = 0;
    for (const Scenario& scenario : reliability::catalogue()) {
        const Rehearsal rehearsal(scenario);
        const std::unique_ptr<Stage> stage = rehearsal.stage();
        const Performance performance = reliability::perform(*stage, scenario.arguments);
        const LogOutcome outcome = outcomeOf(performance);
        if (outcome != LogOutcome::started && outcome != LogOutcome::handedOver &&
            outcome != LogOutcome::provisioned) {
            continue;
        }
        ++good;
        for (const explain::MessageEntry& entry : explain::messageEntries()) {
            const std::string beginning = entry.text.substr(0, entry.text.find('%'));
            const bool isLogged =
                std::any_of(performance.logLines.begin(), performance.logLines.end(),
                            [&](const std::string& line) { return line.starts_with(beginning); });
            EXPECT_TRUE(isLogged || !entry.isInEveryGoodStart) << scenario.name << " lacks " << entry.text;
        }
    }
    EXPECT_GT(good, 10U);
}

}  // namespace
