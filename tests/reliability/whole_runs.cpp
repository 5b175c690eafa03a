#include "reliability/whole_runs.h"

#include <cstdio>

#include "support/run_length.h"
#include "support/text.h"

namespace reliability {

namespace {

constexpr std::uint64_t oneRunIn = 29;
constexpr std::uint64_t oneSanitizedRunIn = 145;

constexpr std::size_t longestLogLine = 300;
constexpr std::size_t longestArgument = 120;

// With a --gtest_filter, consequences may be missing.
bool isEveryTestLong() {
    const ::testing::UnitTest& tests = *::testing::UnitTest::GetInstance();
    return launchertest::isLongRun() && tests.test_to_run_count() == tests.total_test_count();
}

}  // namespace

Tally& Tally::add(const std::string& program, const std::vector<std::string>& endings,
                  const std::vector<std::string>& acceptedConsequences) {
    auto* tally = new Tally;
    tally->program = program;
    tally->endings = endings;
    tally->acceptedConsequences = acceptedConsequences;
    ::testing::AddGlobalTestEnvironment(tally);
    return *tally;
}

void Tally::TearDown() {
    std::printf("%s: %llu runs of %zu scenarios", program.c_str(), static_cast<unsigned long long>(runs),
                catalogue().size());
    const char* separator = ": ";
    for (const std::string& ending : endings) {
        std::printf("%s%llu %s", separator, static_cast<unsigned long long>(counts[ending]), ending.c_str());
        separator = ", ";
    }
    std::printf("\n");
    for (const std::string& consequence : acceptedConsequences) {
        std::printf("%s: %s: %llu\n", program.c_str(), consequence.c_str(),
                    static_cast<unsigned long long>(counts[consequence]));
        EXPECT_TRUE(!isEveryTestLong() || counts[consequence] > 0)
            << "this accepted consequence no longer occurs: " << consequence;
    }
}

WholeRuns::WholeRuns(Tally& tally) : scenario(catalogue()[GetParam()]), rehearsal(scenario), counts(tally) {}

// Scenarios begin their shares at different disturbances, so that together they have all kinds of them.
bool WholeRuns::isInShare(std::uint64_t number) const {
    const std::uint64_t share = launchertest::isSanitized() ? oneSanitizedRunIn : oneRunIn;
    return launchertest::isLongRun() || (number + GetParam()) % share == 0;
}

void WholeRuns::expectAccepted(const char* consequence, const std::string& what,
                               const std::vector<std::string>& logLines) {
    if (consequence == notAccepted) {
        addFinding(what, logLines);
    } else {
        counts.countConsequence(consequence);
    }
}

void WholeRuns::addFinding(const std::string& what, const std::vector<std::string>& logLines) {
    if (++findings > mostFindings) {
        return;
    }
    std::string log;
    for (const std::string& line : logLines) {
        log += "\n    " + line.substr(0, longestLogLine);
    }
    ADD_FAILURE() << scenario.name << ": " << disturbance << ": " << what << log;
}

std::string WholeRuns::describeOperation(std::uint64_t nth) const {
    return "operation " + std::to_string(nth) + " (" + describe(untouched.operations[nth - 1]) + ")";
}

std::string describe(const simulation::Operation& operation) {
    return operation.name + " " + launchertest::toUtf8(operation.argument.substr(0, longestArgument));
}

std::string nameOfScenario(const ::testing::TestParamInfo<std::size_t>& info) {
    return catalogue()[info.param].name;
}

}  // namespace reliability
