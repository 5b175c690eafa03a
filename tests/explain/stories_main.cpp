#include <gtest/gtest.h>

#include <algorithm>
#include <iterator>
#include <map>
#include <optional>
#include <set>
#include <string>

#include "explain/comparison.h"
#include "scenarios/story.h"
#include "support/run_length.h"

// The stories of tests/scenarios, each start of which zelexplain explains as well, and whose log it reads
// afterwards. A difference fails the story.
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
    {"ReusedProcessIds.RestartTakesANewPlatformForTheOldOne",
     "another platform has the process id of the one that asked for the restart"},
    {"LaterStart.RefusedSemaphoreIsFatal", "the platform's semaphore may not be opened"},
};

// Starts whose log cannot say what has happened.
constexpr Exception exceptionsOfLogs[] = {
    {"RefusedStart.FullDiskIsFatal", "the disk takes no line"},
    {"Troubleshooting.FullDiskLeavesAnEmptyLog", "the disk takes no line"},
    {"Troubleshooting.NearlyFullDiskCutsTheLogOff", "the disk takes only the first lines"},
};

// How many of the starts are explained: the first ones of every nth story. Some stories repeat a start
// hundreds of times. A long run takes all stories.
struct Sample {
    int oneStoryIn;
    int mostStartsOfAStory;
};
constexpr Sample longSample = {1, 6};
#ifdef ZELLAUNCHER_EXPLAINED_ONE_STORY_IN
constexpr Sample ordinarySample = {ZELLAUNCHER_EXPLAINED_ONE_STORY_IN, 1};
#else
constexpr Sample ordinarySample = {1, 2};
#endif

Sample sample() {
    return launchertest::isLongRun() ? longSample : ordinarySample;
}

template <typename Exceptions>
bool isAmong(const Exceptions& exceptionalStories, const std::string& story) {
    return std::any_of(std::begin(exceptionalStories), std::end(exceptionalStories),
                       [&](const Exception& exception) { return exception.story == story; });
}

int performed = 0;
int comparedStarts = 0;
std::set<std::string> differing;  // stories among the exceptions
std::set<std::string> differingLogs;

std::string currentStory() {
    const testing::TestInfo& test = *testing::UnitTest::GetInstance()->current_test_info();
    return std::string(test.test_suite_name()) + "." + test.name();
}

// The number of a start in its story, from 1, or nothing if it is not in the sample.
std::optional<int> numberInSample(const std::string& story) {
    static std::map<std::string, int> starts;
    static std::map<std::string, int> stories;
    const int numberOfStory = stories.try_emplace(story, static_cast<int>(stories.size())).first->second;
    const int number = ++starts[story];
    const bool isIn = numberOfStory % sample().oneStoryIn == 0 && number <= sample().mostStartsOfAStory;
    return isIn ? std::optional<int>(number) : std::nullopt;
}

template <typename Exceptions>
void judge(const std::string& story, const Exceptions& exceptionalStories,
           const std::vector<std::string>& differences, std::set<std::string>& differingStories) {
    if (isAmong(exceptionalStories, story)) {
        differingStories.insert(differences.empty() ? "" : story);
        return;
    }
    for (const std::string& difference : differences) {
        ADD_FAILURE() << difference;
    }
}

simulation::ProcessEnd runCompared(simulation::Machine& machine, const scenarios::PlatformBehaviour& platform,
                                   const std::vector<std::wstring>& commandLine,
                                   const std::function<simulation::ProcessId()>& begin) {
    const std::string story = currentStory();
    const std::optional<int> number = numberInSample(story);
    if (!number) {
        return machine.waitFor(begin());
    }
    explaintest::StartToCompare start;
    start.name = story + "." + std::to_string(*number);
    start.arguments = commandLine;
    start.begin = begin;
    start.servesPipe = platform.servesPipe;
    const explaintest::ComparedStart compared = explaintest::compareStart(machine, start);
    ++performed;
    comparedStarts += compared.isCompared ? 1 : 0;
    judge(story, exceptions, compared.differences, differing);
    judge(story, exceptionsOfLogs, compared.logDifferences, differingLogs);
    return compared.end;
}

// An exception that does not differ is none, and few machines have failures.
class Accounts : public testing::Environment {
public:
    void TearDown() override {
        if (testing::GTEST_FLAG(filter) != "*" || sample().oneStoryIn != 1) {
            return;
        }
        for (const Exception& exception : exceptions) {
            EXPECT_EQ(differing.count(exception.story), 1U) << exception.story << ": " << exception.reason;
        }
        for (const Exception& exception : exceptionsOfLogs) {
            EXPECT_EQ(differingLogs.count(exception.story), 1U)
                << exception.story << ": " << exception.reason;
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
