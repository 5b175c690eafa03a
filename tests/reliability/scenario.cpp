#include "reliability/scenario.h"

#include <algorithm>
#include <cstdlib>

#include "launch/entry.h"

namespace reliability {

namespace {

// The sanitizers take their time.
#if defined(__has_feature)
#if __has_feature(address_sanitizer)
#define RELIABILITY_SANITIZED
#endif
#elif defined(__SANITIZE_ADDRESS__)
#define RELIABILITY_SANITIZED
#endif
#ifdef RELIABILITY_SANITIZED
constexpr std::uint64_t slowness = 5;
#else
constexpr std::uint64_t slowness = 1;
#endif

constexpr std::uint64_t longestRun = std::uint64_t{10} * 60 * 1000;
constexpr std::uint64_t mostOperations = 100'000;
constexpr std::uint64_t platformsEndWithin = std::uint64_t{60} * 60 * 1000;

void appendLines(const std::string& text, std::vector<std::string>& lines) {
    std::string line;
    for (const char unit : text + "\n") {
        if (unit == '\n' && !line.empty()) {
            lines.push_back(line);
        }
        if (unit == '\n') {
            line.clear();
        } else if (unit != '\r') {
            line += unit;
        }
    }
}

// The lines of the logs that the operations opened: in TEMP, and in the workspace, but for the history
// of starts there.
std::vector<std::string> linesOfLogs(const simulation::Machine& machine,
                                     const std::vector<simulation::Operation>& operations) {
    std::vector<std::string> lines;
    for (const simulation::Operation& operation : operations) {
        const bool isLog =
            operation.argument.ends_with(L".log") && !operation.argument.ends_with(L"shutdown.log");
        if (operation.name == "openStream" && operation.writes && isLog) {
            appendLines(machine.readFile(operation.argument).value_or(""), lines);
        }
    }
    return lines;
}

}  // namespace

Stage::Stage(const Scenario& scenarioOfStage) : scenario(scenarioOfStage) {
    machine.limitOperations(mostOperations);
    scenario.world(*this);
}

simulation::ProcessId Stage::begin(const Words& words) {
    Words commandLine = {scenario.program};
    for (const std::wstring& word : words) {
        const bool isNumber = word == platformNumber && !machine.startedProcesses().empty();
        commandLine.push_back(isNumber ? std::to_wstring(machine.startedProcesses().back().id) : word);
    }
    return machine.start(commandLine, [] { return zellauncher::wmain(); });
}

void Stage::startAndClose(const Words& words) {
    machine.waitFor(begin(words));
    closePlatforms();
}

void Stage::closePlatforms() {
    const std::wstring request = scenario.workspace + L"\\platform.stop";
    machine.writeFile(request, "");
    machine.runUntilIdle(platformsEndWithin);
    machine.remove(request);
}

void Stage::addUserFile(const std::wstring& path, const std::string& content) {
    machine.writeFile(path, content);
    userFiles.push_back({path, content});
}

bool Performance::endedWell() const {
    return end && end->kind == simulation::EndKind::exited && end->status == 0;
}

bool Performance::failed() const {
    return end && end->kind == simulation::EndKind::exited && end->status == scenarios::fatalStatus;
}

bool Performance::tookShellRole() const {
    return std::any_of(operations.begin(), operations.end(), [](const simulation::Operation& operation) {
        return operation.name == "waitForInputIdle";
    });
}

bool Performance::didAs(const Performance& other) const {
    return end && other.end && end->kind == other.end->kind && end->status == other.end->status &&
           commands == other.commands && payloads == other.payloads && sessionEnds == other.sessionEnds &&
           logonShell == other.logonShell;
}

std::uint64_t operationNumber(const Performance& performance, const std::string& name,
                              const std::wstring& argumentEnding, std::size_t nth) {
    for (std::size_t i = 0; i < performance.operations.size(); ++i) {
        const simulation::Operation& operation = performance.operations[i];
        if (operation.name == name && operation.argument.ends_with(argumentEnding) && --nth == 0) {
            return i + 1;
        }
    }
    return 0;
}

std::string narrow(const std::wstring& text) {
    std::string bytes;
    for (const wchar_t unit : text) {
        bytes += unit < 0x80 ? static_cast<char>(unit) : '?';
    }
    return bytes;
}

Rehearsal::Rehearsal(const Scenario& scenarioToPrepare) : scenario(scenarioToPrepare) {
    Stage stage(scenario);
    stage.layOut();
    scenario.past(stage);
    disks = stage.machine.saveDisks();
    userFiles = stage.userFiles;
}

std::unique_ptr<Stage> Rehearsal::stage() const {
    auto stage = std::make_unique<Stage>(scenario);
    stage->layOut();  // for the programs that it installs
    stage->machine.loadDisks(disks);
    if (scenario.platformRuns) {
        stage->machine.waitFor(stage->begin({}));
    }
    return stage;
}

Performance perform(Stage& stage, const Words& words,
                    const std::function<void(simulation::ProcessId)>& arrange) {
    simulation::Machine& machine = stage.machine;
    const std::size_t startedBefore = machine.startedProcesses().size();
    const std::size_t payloadsBefore = stage.payloads().size();
    const std::size_t sessionEndsBefore = machine.sessionEnds().size();
    const std::size_t operationsBefore = machine.operations().size();
    const std::uint64_t begun = machine.elapsedMilliseconds();
    Performance run;
    const simulation::ProcessId launcher = stage.begin(words);
    arrange(launcher);
    run.end = machine.waitFor(launcher, longestRun);
    run.milliseconds = machine.elapsedMilliseconds() - begun;
    for (std::size_t i = startedBefore; i < machine.startedProcesses().size(); ++i) {
        const simulation::StartedProcess& child = machine.startedProcesses()[i];
        if (child.started && child.parent == launcher) {
            run.commands.push_back(child.commandLine);
        }
    }
    const std::vector<std::wstring> payloads = stage.payloads();
    run.payloads.assign(payloads.begin() + static_cast<std::ptrdiff_t>(payloadsBefore), payloads.end());
    std::copy_if(machine.operations().begin() + static_cast<std::ptrdiff_t>(operationsBefore),
                 machine.operations().end(), std::back_inserter(run.operations),
                 [&](const simulation::Operation& operation) { return operation.process == launcher; });
    run.logLines = linesOfLogs(machine, run.operations);
    for (std::size_t i = sessionEndsBefore; i < machine.sessionEnds().size(); ++i) {
        run.sessionEnds.push_back(machine.sessionEnds()[i].how);
    }
    const auto shell = machine.registryValue(platform::RegistryRoot::localMachine, winLogon, L"Shell");
    run.logonShell = shell ? shell->text : std::wstring();
    return run;
}

bool isLongRun() {
    const char* value = std::getenv("ZELLAUNCHER_LONG");
    return value != nullptr && std::string(value) == "1";
}

bool isWholeRun() {
    const ::testing::UnitTest& tests = *::testing::UnitTest::GetInstance();
    return isLongRun() && tests.test_to_run_count() == tests.total_test_count();
}

bool isInShare(std::uint64_t number, std::size_t scenarioNumber, std::uint64_t every) {
    return isLongRun() || (number + scenarioNumber) % (every * slowness) == 0;
}

}  // namespace reliability
