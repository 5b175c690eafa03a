#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "scenarios/story.h"

// One whole start as the programs of this folder run it a thousand times: declared once in the
// catalogue, made ready once, and then performed from the same beginning as often as it takes.
namespace reliability {

class Stage;

using Words = std::vector<std::wstring>;

// The machine's key of the logon shell.
inline constexpr const wchar_t* winLogon = L"Software\\Microsoft\\Windows NT\\CurrentVersion\\WinLogon";

// A word of a command line that stands for the number of the platform that runs.
inline constexpr const wchar_t* platformNumber = L"<number of the platform>";

struct Scenario {
    std::string name;
    Words words = {};      // of the start that is looked at
    Words nextWords = {};  // of the starts after it
    // The install, the environment and the user, as far as they differ from the plain ones.
    std::function<void(Stage&)> world = [](Stage&) {};
    // What the user and the machine went through before. Only its files remain.
    std::function<void(Stage&)> past = [](Stage&) {};
    bool platformRuns = false;  // the user's platform runs while this start happens
    std::wstring program = L"C:\\Apps\\framework\\Client\\zel\\zellauncher.exe";
    std::wstring workspace = L"C:\\Users\\ann\\Mivel\\ZEL\\1234\\ann";
};

const std::vector<Scenario>& catalogue();
const Scenario& scenarioCalled(const std::string& name);

// The machine on which a scenario is performed.
class Stage : public scenarios::Story {
public:
    using Story::base;
    using Story::baseProperties;
    using Story::configFile;
    using Story::home;
    using Story::inConfig;
    using Story::inWorkspace;
    using Story::jvmProperties;
    using Story::launcher;
    using Story::launcherProperties;
    using Story::layOut;
    using Story::machine;
    using Story::nativeLauncher;
    using Story::payloads;
    using Story::platform;

    explicit Stage(const Scenario& scenario);
    void TestBody() override {}

    // Starts the launcher; the platforms that it starts go on living.
    simulation::ProcessId begin(const Words& words);
    // One start to its end, then the end of every platform.
    void startAndClose(const Words& words = {});
    // Lets every platform end, as a user who closes it.
    void closePlatforms();
    // A file of the user's, which no start may lose.
    void addUserFile(const std::wstring& path, const std::string& content);
    const std::wstring& workspaceOfScenario() const { return scenario.workspace; }

    struct UserFile {
        std::wstring path;
        std::string content;
    };
    std::vector<UserFile> userFiles;

private:
    const Scenario& scenario;
};

// What can be seen of one start.
struct Performance {
    std::optional<simulation::ProcessEnd> end;      // nothing: it still ran when the time was over
    std::vector<std::wstring> commands;             // of the platforms that it started
    std::vector<std::wstring> payloads;             // that it handed to a platform
    std::vector<simulation::Operation> operations;  // its own, in order
    std::vector<std::string> logLines;              // of the logs that it wrote
    std::vector<std::uint32_t> sessionEnds;         // how it had the user's session ended
    std::wstring logonShell;                        // of the machine, afterwards
    std::uint64_t milliseconds = 0;

    bool endedWell() const;
    bool failed() const;  // an end by a fatal message
    bool tookShellRole() const;
    // Both did the same for the user, and left the machine the same logon shell.
    bool didAs(const Performance& other) const;
};

// The number of an operation among those of the performance, counted from 1: the nth one of this name
// whose argument ends so; 0 when there is none.
std::uint64_t operationNumber(const Performance& performance, const std::string& name,
                              const std::wstring& argumentEnding, std::size_t nth = 1);

// A scenario that is ready to be performed.
class Rehearsal {
public:
    explicit Rehearsal(const Scenario& scenario);

    // A new machine at the beginning of the scenario. The platform that the scenario wants runs.
    std::unique_ptr<Stage> stage() const;

    const Scenario& scenario;
    std::vector<Stage::UserFile> userFiles;

private:
    simulation::DiskImage disks;
};

// One start on the stage, for at most ten simulated minutes and a hundred thousand operations.
// `arrange` is called with the process before it begins.
Performance perform(
    Stage& stage, const Words& words,
    const std::function<void(simulation::ProcessId)>& arrange = [](simulation::ProcessId) {});

// For messages: a text of the seam with a question mark for what is no ASCII.
std::string narrow(const std::wstring& text);

// The value of ZELLAUNCHER_LONG: everything is run, and not only the share of an ordinary test run.
bool isLongRun();

// A long run of every test, and not of a choice of them.
bool isWholeRun();

// Whether the run of this number belongs to the share of this scenario: every so many-th, from
// another one on in each scenario, so that all kinds of runs have their turn.
bool isInShare(std::uint64_t number, std::size_t scenarioNumber, std::uint64_t every);

}  // namespace reliability
