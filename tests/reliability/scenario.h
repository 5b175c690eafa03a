#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "scenarios/story.h"

// A scenario is one whole start that is performed again and again from the same beginning. The catalogue
// declares it, a Rehearsal prepares its disks once, and each run gets a Stage of its own.
namespace reliability {

class Stage;

using Arguments = std::vector<std::wstring>;

// The registry key of the logon shell.
inline constexpr const wchar_t* winLogon = L"Software\\Microsoft\\Windows NT\\CurrentVersion\\WinLogon";

// An argument that is replaced by the process id of the running platform.
inline constexpr const wchar_t* platformId = L"<process id of the platform>";

struct Scenario {
    std::string name;
    Arguments arguments = {};      // of the examined start
    Arguments nextArguments = {};  // of the starts after it
    // Changes the install, the environment and the user before the first start.
    std::function<void(Stage&)> world = [](Stage&) {};
    // What happened on the machine before the examined start. Only its files remain.
    std::function<void(Stage&)> past = [](Stage&) {};
    bool platformRuns = false;  // during the examined start
    std::wstring program = L"C:\\Apps\\framework\\Client\\zel\\zellauncher.exe";
    std::wstring workspace = L"C:\\Users\\ann\\Mivel\\ZEL\\1234\\ann";
};

const std::vector<Scenario>& catalogue();
const Scenario& scenarioCalled(const std::string& name);

// The simulated machine of one run.
class Stage : public scenarios::Story {
public:
    using Story::baseProperties;
    using Story::configFile;
    using Story::inConfig;
    using Story::installDir;
    using Story::inWorkspace;
    using Story::launcherProperties;
    using Story::layOut;
    using Story::machine;
    using Story::payloads;
    using Story::platform;

    explicit Stage(const Scenario& scenario);
    void TestBody() override {}

    // Starts the launcher without waiting for it.
    simulation::ProcessId begin(const Arguments& arguments);
    // Runs the launcher to its end, then ends every platform.
    void startAndClose(const Arguments& arguments = {});
    // Ends every platform, as a user who closes it.
    void closePlatforms();
    // Writes a file of the user's, which no start may lose.
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

// What one start did.
struct Performance {
    std::optional<simulation::ProcessEnd> end;      // nothing if it still ran at the time limit
    std::vector<std::wstring> commands;             // of the platforms that it started
    std::vector<std::wstring> payloads;             // that it sent to platforms
    std::vector<simulation::Operation> operations;  // its own, in order
    std::vector<std::string> logLines;              // of the logs that it wrote
    std::vector<std::uint32_t> sessionEnds;         // SessionEnd::how of each that it caused
    std::wstring logonShell;                        // of the machine afterwards

    bool endedWell() const;  // with status 0
    bool failed() const;     // with a fatal message
    bool tookShellRole() const;
    std::size_t renewals() const;  // how often it moved the configuration away
    // Same end, same effect for the user, same logon shell.
    bool didAs(const Performance& other) const;
};

// A log of a single start, as opposed to shutdown.log.
bool isLogOfAStart(const std::wstring& path);

// The place of an operation in the performance, counted from 1: of the nth one with this name and
// argument ending. 0 if there is none.
std::uint64_t operationNumber(const Performance& performance, const std::string& name,
                              const std::wstring& argumentEnding, std::size_t nth = 1);

// A scenario whose beginning is prepared.
class Rehearsal {
public:
    explicit Rehearsal(const Scenario& scenario);

    // A new machine at the beginning of the scenario, with its platform running if it has one, and everything
    // on the device.
    std::unique_ptr<Stage> stage() const;

    const Scenario& scenario;
    std::vector<Stage::UserFile> userFiles;

private:
    simulation::DiskImage disks;
};

// Runs one start for at most ten simulated minutes and 100,000 operations. `arrange` is called with its
// process id before it begins.
Performance perform(
    Stage& stage, const Arguments& arguments,
    const std::function<void(simulation::ProcessId)>& arrange = [](simulation::ProcessId) {});

}  // namespace reliability
