#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <map>

#include "reliability/scenario.h"
#include "reliability/user_files.h"

// Every operation of a start is its last one.
//
// A scenario is performed once without a stop, and two more starts after it: what they do and leave is
// the measure. Then the start is stopped dead in place of each of its operations, and what it had not
// written out is lost, kept, or written by half. The platform that it may have started ends as well (or,
// in runs of their own, goes on living), and the two next starts have to do and to leave what they do
// and leave without a stop.
namespace {

using reliability::narrow;
using reliability::perform;
using reliability::Performance;
using reliability::Rehearsal;
using reliability::Scenario;
using reliability::Stage;
using simulation::UnflushedData;

constexpr std::uint64_t shareOfRuns = 13;  // an ordinary test run takes one in so many
constexpr int mostFindings = 10;           // that one scenario reports
constexpr std::uint64_t publishedWithin = 1000;

struct StopRun {
    std::uint64_t nth = 0;
    UnflushedData data = UnflushedData::lost;
    bool platformLivesOn = false;
    bool powerFails = false;  // and with it goes what the system had not yet brought to the device
};

using Files = std::map<std::wstring, std::string>;

std::uint64_t runs = 0;
std::map<std::string, std::uint64_t> named;

const char* nameOf(UnflushedData data) {
    switch (data) {
        case UnflushedData::lost:
            return "lost";
        case UnflushedData::kept:
            return "kept";
        default:
            return "partly written";
    }
}

// Numbers of processes differ from run to run, and so does the number of blanks behind them.
std::string withoutNumbers(const std::string& text) {
    std::string kept;
    for (const char unit : text) {
        const bool isDigit = unit >= '0' && unit <= '9';
        const char mark = isDigit ? '#' : unit;
        const bool isRepeated = !kept.empty() && kept.back() == mark && (isDigit || unit == ' ');
        if (!isRepeated) {
            kept += mark;
        }
    }
    return kept;
}

bool holdsANumber(const std::wstring& path) {
    return path.ends_with(L".zel.lock") || path.ends_with(L".zel.main") || path.ends_with(L"\\.pipe");
}

bool isHistory(const std::wstring& path) {
    return path.ends_with(L"\\logs\\shutdown.log");
}

bool isLog(const std::wstring& path) {
    return path.ends_with(L".log") && !isHistory(path);
}

// The disks as far as starts can be compared: without the logs of single starts, and of the history of
// starts only that there is one.
Files filesOf(const Stage& stage) {
    Files files;
    for (const wchar_t* drive : {L"C:\\", L"D:\\"}) {
        for (const std::wstring& path : stage.machine.tree(drive)) {
            if (isLog(path)) {
                continue;
            }
            const std::string content = stage.machine.readFile(path).value_or("");
            files[path] = isHistory(path)      ? std::string()
                          : holdsANumber(path) ? withoutNumbers(content)
                                               : content;
        }
    }
    return files;
}

// What docs/reliability.md names: each with its reason there.
constexpr const char* backupOfRepair = "the backup is that of a repair";
constexpr const char* backupReplaced = "the repair replaces the backup of the stopped renewal";
constexpr const char* copiesWait = "registry and bookmarks wait beside the configuration";
constexpr const char* cutSeed = "a seed file that was cut stays";
constexpr const char* asideLeft = "what was moved aside is left";
constexpr const char* historyAside = "the history of starts begins anew";
constexpr const char* identityCut = "an identity that was cut is made once more";
constexpr const char* resetHalfDone = "a reset is not taken up again";
constexpr const char* notRecorded = "a platform that is not yet recorded";
constexpr const char* notPublished = "a platform that publishes nothing";
constexpr const char* shellLeft = "the logon shell stays that of administrators";

constexpr const char* allNames[] = {backupOfRepair, backupReplaced, copiesWait,  cutSeed,
                                    asideLeft,      historyAside,   identityCut, resetHalfDone,
                                    notRecorded,    notPublished,   shellLeft};

bool has(const std::wstring& text, const wchar_t* part) {
    return text.find(part) != std::wstring::npos;
}

// The name under which a file may differ from what it is without a stop; null when it may not.
const char* nameOfDifference(const std::wstring& path) {
    if (has(path, L".configbak\\") || path.ends_with(L"\\org.eclipse.update\\")) {
        return backupOfRepair;
    }
    if (path.ends_with(L"\\registry.old") || path.ends_with(L"\\bookmarks.xml.old") ||
        path.ends_with(L"\\org.eclipse.update\\registry") ||
        path.ends_with(L"\\org.eclipse.update\\bookmarks.xml")) {
        return copiesWait;
    }
    if (path.ends_with(L".config\\config.ini") || path.ends_with(L"\\org.eclipse.update\\platform.xml") ||
        path.ends_with(L"\\.eclipseextension")) {
        return cutSeed;
    }
    if (has(path, L"deleteme") || path.ends_with(L"\\zelinstall.properties.new")) {
        return asideLeft;
    }
    if (path.ends_with(L"\\shutdown.log.new")) {
        return historyAside;
    }
    return has(path, L"\\.metadata\\.plugins\\views\\") ? resetHalfDone : nullptr;
}

struct Difference {
    std::wstring path;
    std::string what;
};

std::vector<Difference> differencesOf(const Files& files, const Files& measure) {
    std::vector<Difference> differences;
    for (const auto& [path, content] : measure) {
        const auto found = files.find(path);
        if (found == files.end()) {
            differences.push_back({path, "there is no " + narrow(path)});
        } else if (found->second != content) {
            differences.push_back({path, "other content of " + narrow(path) + ": " + found->second});
        }
    }
    for (const auto& [path, content] : files) {
        if (measure.count(path) == 0) {
            differences.push_back({path, "there is in addition " + narrow(path)});
        }
    }
    return differences;
}

// What the starts after the one that is stopped do and leave.
struct Measure {
    Performance next;
    Performance third;
    Files files;
};

class Stops : public ::testing::TestWithParam<std::size_t> {
protected:
    Stops() : scenario(reliability::catalogue()[GetParam()]), rehearsal(scenario) {}

    const Scenario& scenario;
    Rehearsal rehearsal;
    Performance untouched;
    Performance whilePlatformLives;
    Measure done;    // after the start
    Measure undone;  // as if it had never been
    int findings = 0;

    void finding(const StopRun& stop, const std::string& what) {
        if (++findings > mostFindings) {
            return;
        }
        const simulation::Operation& operation = untouched.operations[stop.nth - 1];
        ADD_FAILURE() << scenario.name << ": stopped at operation " << stop.nth << " (" << operation.name
                      << " " << narrow(operation.argument.substr(0, 120)) << "), unflushed data "
                      << nameOf(stop.data) << (stop.platformLivesOn ? ", the platform lives on" : "")
                      << (stop.powerFails ? ", the power fails" : "") << ": " << what;
    }

    Measure performNextStarts(Stage& stage) {
        Measure measure;
        stage.closePlatforms();
        measure.next = perform(stage, scenario.nextWords);
        stage.closePlatforms();
        measure.third = perform(stage, scenario.nextWords);
        stage.closePlatforms();
        measure.files = filesOf(stage);
        return measure;
    }

    void performUntouched() {
        std::unique_ptr<Stage> stage = rehearsal.stage();
        undone = performNextStarts(*stage);
        stage = rehearsal.stage();
        untouched = perform(*stage, scenario.words);
        done = performNextStarts(*stage);
        stage = rehearsal.stage();
        perform(*stage, scenario.words);
        stage->machine.runUntilIdle(publishedWithin);
        whilePlatformLives = perform(*stage, scenario.nextWords);
    }

    std::vector<StopRun> allStops() const {
        std::vector<StopRun> stops;
        bool isStarted = false;
        for (std::uint64_t nth = 1; nth <= untouched.operations.size(); ++nth) {
            for (const auto data : {UnflushedData::lost, UnflushedData::kept, UnflushedData::partlyWritten}) {
                stops.push_back({nth, data});
                if (isStarted) {
                    stops.push_back({nth, data, true});
                }
            }
            stops.push_back({nth, UnflushedData::lost, false, true});
            isStarted = isStarted || untouched.operations[nth - 1].name == "createProcess";
        }
        return stops;
    }

    void performStopped(const StopRun& stop) {
        ++runs;
        const std::unique_ptr<Stage> stage = rehearsal.stage();
        const Performance run = perform(*stage, scenario.words, [&](simulation::ProcessId launcher) {
            stage->machine.stopDead({stop.nth, launcher, stop.data});
        });
        stage->machine.stopDeadAt(0);
        ASSERT_EQ(run.end->kind, simulation::EndKind::stoppedDead);
        if (stop.platformLivesOn) {
            judgeWhilePlatformLives(stop, *stage);
            return;
        }
        if (stop.powerFails) {
            stage->closePlatforms();
            stage->machine.losePower();
        }
        for (const std::wstring& path : lostFiles(*stage, rehearsal.userFiles)) {
            finding(stop, "loses " + narrow(path) + " at once");
        }
        const Measure after = performNextStarts(*stage);
        if (isIdentityCut(stop)) {
            ++named[identityCut];
            return;
        }
        if (isShellLeft(after.next)) {
            ++named[shellLeft];
            return;
        }
        judgeStart(stop, after.next, done.next, undone.next, "the next start");
        judgeStart(stop, after.third, done.third, undone.third, "the start after it");
        for (const std::wstring& path : lostFiles(*stage, rehearsal.userFiles)) {
            expectNamed(isRenewal(after.next) ? backupReplaced : nullptr, stop, "loses " + narrow(path));
        }
        judgeFiles(stop, *stage, after.files);
    }

    void expectNamed(const char* name, const StopRun& stop, const std::string& what) {
        if (name != nullptr) {
            ++named[name];
        } else {
            finding(stop, what);
        }
    }

    // The identity of a new install was being appended to its properties.
    bool isIdentityCut(const StopRun& stop) const {
        const simulation::Operation& operation = untouched.operations[stop.nth - 1];
        const std::uint64_t appended =
            reliability::operationNumber(untouched, "flushStream", L"zellauncher.properties");
        if (stop.powerFails && appended != 0) {
            return stop.nth > appended;
        }
        return stop.data == UnflushedData::partlyWritten && operation.name == "flushStream" &&
               operation.argument == L"zellauncher.properties";
    }

    // The start was stopped in the role of the shell, and the machine is no kiosk now.
    bool isShellLeft(const Performance& next) const {
        return untouched.tookShellRole() && next.logonShell == L"explorer.exe" && next.endedWell() &&
               next.commands.size() == 1;
    }

    static bool isRenewal(const Performance& start) {
        return std::any_of(
            start.operations.begin(), start.operations.end(), [](const simulation::Operation& operation) {
                return operation.name == "moveFile" && operation.argument.ends_with(L"\\.config");
            });
    }

    // The number of the platform is in the lock file from here on.
    std::uint64_t recordedAt() const {
        bool isStarted = false;
        for (const simulation::Operation& operation : untouched.operations) {
            isStarted = isStarted || operation.name == "createProcess";
            if (isStarted && operation.name == "flushStream" && operation.argument == L".zel.lock") {
                return static_cast<std::uint64_t>(&operation - untouched.operations.data()) + 1;
            }
        }
        return 0;
    }

    // A platform that the stopped start left is found by the next one.
    void judgeWhilePlatformLives(const StopRun& stop, Stage& stage) {
        const simulation::ProcessId left = stage.machine.startedProcesses().back().id;
        stage.machine.runUntilIdle(publishedWithin);
        const Performance next = perform(stage, scenario.nextWords);
        if (!stage.machine.isRunning(left)) {
            return;  // it has come to its own end meanwhile
        }
        const bool isHandedOff = next.endedWell() && next.commands.empty() && next.payloads.size() == 1;
        const bool isRefusedAsEver = next.failed() && whilePlatformLives.failed();
        if (!isHandedOff && !isRefusedAsEver) {
            const char* name = stop.nth <= recordedAt() ? notRecorded : nullptr;
            expectNamed(stage.platform.publishes ? name : notPublished, stop,
                        "the platform that runs is not found");
        }
    }

    void judgeStart(const StopRun& stop, const Performance& start, const Performance& afterDone,
                    const Performance& afterUndone, const std::string& which) {
        if (start.didAs(afterDone) || start.didAs(afterUndone)) {
            return;
        }
        std::string logs;
        for (const std::string& line : start.logLines) {
            logs += "\n    " + line.substr(0, 300);
        }
        finding(stop, which + " does something else" + logs);
    }

    void judgeFiles(const StopRun& stop, Stage& stage, const Files& files) {
        const std::vector<Difference> ofDone = differencesOf(files, done.files);
        const std::vector<Difference> ofUndone = differencesOf(files, undone.files);
        const std::vector<Difference>& differences = ofDone.size() <= ofUndone.size() ? ofDone : ofUndone;
        bool doCopiesWait = false;
        for (const Difference& difference : differences) {
            const char* name = nameOfDifference(difference.path);
            expectNamed(name, stop, difference.what);
            doCopiesWait = doCopiesWait || name == copiesWait;
        }
        if (doCopiesWait) {
            expectBroughtBack(stop, stage);
        }
    }

    // The next renewal brings registry and bookmarks back into the configuration.
    void expectBroughtBack(const StopRun& stop, Stage& stage) {
        perform(stage, {L"-resetconfig"});
        for (const Stage::UserFile& file : rehearsal.userFiles) {
            if (has(file.path, L"\\org.eclipse.update\\") &&
                stage.machine.readFile(file.path) != file.content) {
                finding(stop, "a reset does not bring back " + narrow(file.path));
            }
        }
    }
};

TEST_P(Stops, NeedNoHelp) {
    performUntouched();
    ASSERT_TRUE(untouched.end);
    std::uint64_t number = 0;
    for (const StopRun& stop : allStops()) {
        if (reliability::isInShare(number++, GetParam(), shareOfRuns)) {
            performStopped(stop);
        }
    }
    EXPECT_LE(findings, mostFindings);
}

std::string nameOfScenario(const ::testing::TestParamInfo<std::size_t>& info) {
    return reliability::catalogue()[info.param].name;
}

INSTANTIATE_TEST_SUITE_P(Scenarios, Stops, ::testing::Range(std::size_t{0}, reliability::catalogue().size()),
                         nameOfScenario);

class Totals : public ::testing::Environment {
public:
    void TearDown() override {
        std::printf("stops: %llu runs of %zu scenarios\n", static_cast<unsigned long long>(runs),
                    reliability::catalogue().size());
        for (const char* name : allNames) {
            std::printf("stops: %s: %llu\n", name, static_cast<unsigned long long>(named[name]));
            EXPECT_TRUE(!reliability::isWholeRun() || named[name] > 0) << name << " does not happen any more";
        }
    }
};

const ::testing::Environment* const totals = ::testing::AddGlobalTestEnvironment(new Totals);

}  // namespace
