#include "reliability/scenario.h"

#include <algorithm>
#include <iterator>

#include "launch/entry.h"
#include "support/text.h"

namespace reliability {

namespace {

constexpr std::uint64_t longestRun = std::uint64_t{10} * 60 * 1000;
constexpr std::uint64_t mostOperations = 100'000;
constexpr std::uint64_t platformsEndWithin = std::uint64_t{60} * 60 * 1000;

// The non-empty lines of the logs that these operations opened for writing.
std::vector<std::string> linesOfLogs(const simulation::Machine& machine,
                                     const std::vector<simulation::Operation>& operations) {
    std::vector<std::string> lines;
    for (const simulation::Operation& operation : operations) {
        if (operation.name == "openStream" && operation.writes && isLogOfAStart(operation.argument)) {
            const std::string log = machine.readFile(operation.argument).value_or("");
            const std::vector<std::string> added = launchertest::splitLines(log);
            std::copy_if(added.begin(), added.end(), std::back_inserter(lines),
                         [](const std::string& line) { return !line.empty(); });
        }
    }
    return lines;
}

}  // namespace

Stage::Stage(const Scenario& scenarioOfStage) : scenario(scenarioOfStage) {
    machine.limitOperations(mostOperations);
    scenario.world(*this);
}

simulation::ProcessId Stage::begin(const Arguments& arguments) {
    Arguments commandLine = {scenario.program};
    for (const std::wstring& argument : arguments) {
        const bool isId = argument == platformId && !machine.startedProcesses().empty();
        commandLine.push_back(isId ? std::to_wstring(machine.startedProcesses().back().id) : argument);
    }
    return machine.start(commandLine, [] { return zellauncher::wmain(); });
}

void Stage::startAndClose(const Arguments& arguments) {
    machine.waitFor(begin(arguments));
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

std::size_t Performance::renewals() const {
    return static_cast<std::size_t>(
        std::count_if(operations.begin(), operations.end(), [](const simulation::Operation& operation) {
            return operation.name == "moveFile" && operation.argument.ends_with(L"\\.config");
        }));
}

bool Performance::didAs(const Performance& other) const {
    return end && other.end && end->kind == other.end->kind && end->status == other.end->status &&
           commands == other.commands && payloads == other.payloads && sessionEnds == other.sessionEnds &&
           logonShell == other.logonShell;
}

bool isLogOfAStart(const std::wstring& path) {
    return path.ends_with(L".log") && !path.ends_with(L"shutdown.log");
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

Rehearsal::Rehearsal(const Scenario& scenarioToPrepare) : scenario(scenarioToPrepare) {
    Stage stage(scenario);
    stage.layOut();
    scenario.past(stage);
    disks = stage.machine.saveDisks();
    userFiles = stage.userFiles;
}

std::unique_ptr<Stage> Rehearsal::stage() const {
    auto stage = std::make_unique<Stage>(scenario);
    stage->layOut();  // installs the programs, which are not on the disks
    stage->machine.loadDisks(disks);
    if (scenario.platformRuns) {
        stage->machine.waitFor(stage->begin({}));
        stage->machine.flushDisks();
    }
    return stage;
}

Performance perform(Stage& stage, const Arguments& arguments,
                    const std::function<void(simulation::ProcessId)>& arrange) {
    simulation::Machine& machine = stage.machine;
    const std::size_t startedBefore = machine.startedProcesses().size();
    const std::size_t payloadsBefore = stage.payloads().size();
    const std::size_t sessionEndsBefore = machine.sessionEnds().size();
    const std::size_t operationsBefore = machine.operations().size();
    Performance run;
    const simulation::ProcessId launcher = stage.begin(arguments);
    arrange(launcher);
    run.end = machine.waitFor(launcher, longestRun);
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

}  // namespace reliability
