#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <vector>

#include "reliability/scenario.h"

// What the programs `faults` and `stops` share. Each performs every scenario of the catalogue once
// undisturbed and then once for each disturbance. A run may end as without the disturbance or with a
// consequence that docs/reliability.md names; anything else is a finding, which fails the test.
namespace reliability {

// The counts of one program. They are printed after its last test. When all tests ran in full, each
// accepted consequence must have occurred.
class Tally : public ::testing::Environment {
public:
    // Creates a tally that GoogleTest owns. `endings` are the kinds of ends that the program counts.
    static Tally& add(const std::string& program, const std::vector<std::string>& endings,
                      const std::vector<std::string>& acceptedConsequences);

    void countRun() { ++runs; }
    void countEnding(const std::string& ending) { ++counts[ending]; }
    void countConsequence(const std::string& consequence) { ++counts[consequence]; }

    void TearDown() override;

private:
    std::string program;
    std::vector<std::string> endings;
    std::vector<std::string> acceptedConsequences;
    std::uint64_t runs = 0;
    std::map<std::string, std::uint64_t> counts;  // by ending and by consequence
};

// For expectAccepted.
inline constexpr const char* notAccepted = nullptr;

// The test of one scenario; the parameter is its place in the catalogue.
class WholeRuns : public ::testing::TestWithParam<std::size_t> {
protected:
    explicit WholeRuns(Tally& tally);

    const Scenario& scenario;
    const Rehearsal rehearsal;
    Performance untouched;  // the scenario without a disturbance; set by the program

    // Calls performRun for each disturbance in this test's share: for all of them in a long run,
    // otherwise for every 29th, and under the sanitizers for every 145th. `describe` is its text in
    // findings.
    template <typename Disturbance>
    void performShare(const std::vector<Disturbance>& disturbances,
                      const std::function<std::string(const Disturbance&)>& describe,
                      const std::function<void(const Disturbance&)>& performRun) {
        for (std::size_t number = 0; number < disturbances.size(); ++number) {
            if (isInShare(number)) {
                counts.countRun();
                disturbance = describe(disturbances[number]);
                performRun(disturbances[number]);
            }
        }
        EXPECT_LE(findings, mostFindings) << "further findings are not listed";
    }

    // Counts the consequence, or adds a finding if it is notAccepted.
    void expectAccepted(const char* consequence, const std::string& what,
                        const std::vector<std::string>& logLines = {});
    // Fails the test, with the disturbance and the log lines in the message.
    void addFinding(const std::string& what, const std::vector<std::string>& logLines = {});

    // The nth operation of the untouched scenario, as in "operation 7 (openStream config.ini)".
    std::string describeOperation(std::uint64_t nth) const;

private:
    static constexpr int mostFindings = 10;

    bool isInShare(std::uint64_t number) const;

    Tally& counts;
    std::string disturbance;
    int findings = 0;
};

// For messages: name and argument.
std::string describe(const simulation::Operation& operation);

// Names a scenario's test after it, for INSTANTIATE_TEST_SUITE_P.
std::string nameOfScenario(const ::testing::TestParamInfo<std::size_t>& info);

}  // namespace reliability
