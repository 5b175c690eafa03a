#include <gtest/gtest.h>

#include <map>
#include <set>
#include <string>

#include "explain/comparison.h"
#include "scenarios/story.h"

// The stories of tests/scenarios, each start of which zelexplain explains as well. A difference fails the
// story.
namespace {

// Starts that real directories and the options of zelexplain cannot describe.
struct Exception {
    const char* story;
    const char* reason;
};

constexpr Exception exceptions[] = {
    {"LaterStart.RestartWaitsForTheOldPlatform", "the running platform ends while the start waits for it"},
    {"KioskMachine.LogonShellOfNoBytesDoesNotEndTheStart", "the logon shell has a value of no bytes"},
    {"GoodDebugLogs.ReportNoFailure", "a kiosk's shell is registered on a machine that is no kiosk"},
    {"Troubleshooting.MissingHomeDriveIsFatal", "the home is on a drive that does not exist"},
    {"LaterStart.RefusedSemaphoreIsFatal", "the platform's semaphore may not be opened"},
};

// Some stories repeat a start hundreds of times.
constexpr int mostStartsOfAStory = 6;

const Exception* exceptionFor(const std::string& story) {
    for (const Exception& exception : exceptions) {
        if (story == exception.story) {
            return &exception;
        }
    }
    return nullptr;
}

int performed = 0;
int comparedStarts = 0;
std::set<std::string> differing;  // stories among the exceptions

std::string currentStory() {
    const testing::TestInfo& test = *testing::UnitTest::GetInstance()->current_test_info();
    return std::string(test.test_suite_name()) + "." + test.name();
}

// The number of the start in its story, from 1.
int numberOfStart(const std::string& story) {
    static std::map<std::string, int> starts;
    return ++starts[story];
}

simulation::ProcessEnd runCompared(simulation::Machine& machine, const scenarios::PlatformBehaviour& platform,
                                   const std::vector<std::wstring>& commandLine,
                                   const std::function<simulation::ProcessId()>& begin) {
    const std::string story = currentStory();
    const int number = numberOfStart(story);
    if (number > mostStartsOfAStory) {
        return machine.waitFor(begin());
    }
    explaintest::StartToCompare start;
    start.name = story + "." + std::to_string(number);
    start.arguments = commandLine;
    start.begin = begin;
    start.servesPipe = platform.servesPipe;
    const explaintest::ComparedStart compared = explaintest::compareStart(machine, start);
    ++performed;
    comparedStarts += compared.isCompared ? 1 : 0;
    if (exceptionFor(story) != nullptr) {
        differing.insert(compared.differences.empty() ? "" : story);
        return compared.end;
    }
    for (const std::string& difference : compared.differences) {
        ADD_FAILURE() << difference;
    }
    return compared.end;
}

// An exception that does not differ is none, and few machines have failures.
class Accounts : public testing::Environment {
public:
    void TearDown() override {
        if (testing::GTEST_FLAG(filter) != "*") {
            return;
        }
        for (const Exception& exception : exceptions) {
            EXPECT_EQ(differing.count(exception.story), 1U) << exception.story << ": " << exception.reason;
        }
        EXPECT_GE(comparedStarts * 10, performed * 9) << comparedStarts << " of " << performed;
    }
};

}  // namespace

int main(int argumentCount, char** arguments) {
    testing::InitGoogleTest(&argumentCount, arguments);
    scenarios::startRunner = runCompared;
    testing::AddGlobalTestEnvironment(new Accounts);
    return RUN_ALL_TESTS();
}
