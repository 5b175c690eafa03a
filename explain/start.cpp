#include "explain/start.h"

#include <algorithm>

#include "explain/check/check.h"
#include "explain/encoding.h"
#include "explain/environment.h"
#include "explain/failure.h"
#include "explain/launcher_run.h"
#include "explain/running_platform.h"
#include "explain/simulated_platform.h"
#include "explain/sources.h"
#include "explain/windows_paths.h"
#include "foundation/text.h"

namespace explain {

namespace {

constexpr std::uint64_t platformsEndWithin = 120'000;

Outcome outcomeOf(const zellauncher::StartEnd end) {
    switch (end) {
        case zellauncher::StartEnd::started:
            return Outcome::started;
        case zellauncher::StartEnd::provisioned:
            return Outcome::provisioned;
        case zellauncher::StartEnd::handedOver:
            return Outcome::handedOver;
        case zellauncher::StartEnd::prepared:
            return Outcome::prepared;
        case zellauncher::StartEnd::shellRole:
            break;
    }
    return Outcome::shellRole;
}

std::string withoutLineEnds(std::string line) {
    const std::size_t first = line.find_first_not_of("\r\n");
    line.erase(0, std::min(first, line.size()));
    line.resize(line.find_last_not_of("\r\n") + 1);
    return line;
}

// True if the launcher tried to use the command that it assembled.
bool isCommandComplete(const World& world, const LauncherRun& run) {
    if (run.recording.end) {
        return true;
    }
    const auto& started = world.machine->startedProcesses();
    const bool isTried =
        std::any_of(started.begin() + static_cast<std::ptrdiff_t>(run.firstStarted), started.end(),
                    [&](const simulation::StartedProcess& child) { return child.parent == run.process; });
    const auto& operations = world.machine->operations();
    return isTried ||
           std::any_of(operations.begin() + static_cast<std::ptrdiff_t>(run.firstOperation), operations.end(),
                       [&](const simulation::Operation& operation) {
                           return operation.process == run.process && operation.name == "waitNamedPipe";
                       });
}

void addEnd(Explanation& explanation, const LauncherRun& run) {
    if (run.end) {
        explanation.status = static_cast<std::int32_t>(run.end->status);
    }
    if (run.recording.end) {
        explanation.outcome = outcomeOf(*run.recording.end);
    }
    if (run.recording.fatalLine) {
        explanation.message =
            withoutLineEnds(logLineToUtf8(run.recording.logLines[*run.recording.fatalLine]));
    }
}

void addCommand(Explanation& explanation, const World& world, const LauncherRun& run,
                const Reasons& reasons) {
    if (isCommandComplete(world, run)) {
        explanation.command = zellauncher::upToNul(run.state.command);
        explanation.elements = reasons.elements();
    }
}

void addEnvironment(Explanation& explanation, const World& world, const LauncherRun& run) {
    const Variables after = world.machine->environmentOf(run.process);
    for (const auto& [name, value] : after) {
        const std::wstring* before = findVariable(world.environment, name);
        if (before == nullptr || *before != value) {
            explanation.setVariables[name] = value;
        }
    }
    for (const auto& [name, value] : world.environment) {
        if (findVariable(after, name) == nullptr) {
            explanation.unsetVariables.push_back(name);
        }
    }
}

// TEMP, and so the path that the launcher opened, may be relative or on a share. Empty without a log file.
std::wstring logFileOf(const World& world, const LauncherRun& run) {
    const std::wstring& path = run.recording.logPath;
    return path.empty() ? path : world.machine->fullPath(path);
}

bool isListed(const simulation::DiskChange& change, const std::wstring& logFile, const LauncherRun& run) {
    const bool isLog = isSamePath(change.path, logFile);
    const bool isPublished =
        isSamePath(change.path, run.state.pipeFile) && change.kind != simulation::DiskChange::Kind::removed;
    return !isLog && !isPublished;
}

FileChange::Kind kindOf(simulation::DiskChange::Kind kind) {
    switch (kind) {
        case simulation::DiskChange::Kind::made:
            return FileChange::Kind::made;
        case simulation::DiskChange::Kind::changed:
            return FileChange::Kind::changed;
        case simulation::DiskChange::Kind::moved:
            return FileChange::Kind::moved;
        case simulation::DiskChange::Kind::removed:
            break;
    }
    return FileChange::Kind::removed;
}

void addChanges(Explanation& explanation, const World& world, const LauncherRun& run) {
    const std::wstring logFile = logFileOf(world, run);
    for (simulation::DiskChange& change : world.machine->diskChanges()) {
        const bool isMoved = change.kind == simulation::DiskChange::Kind::moved;
        if (!isListed(change, logFile, run)) {
            continue;
        }
        if (!change.isDirectory || isMoved) {
            explanation.files.push_back({kindOf(change.kind), change.path, change.from, change.isDirectory,
                                         std::move(change.content), std::move(change.formerContent)});
        } else if (change.kind == simulation::DiskChange::Kind::removed) {
            explanation.removedDirectories.push_back(change.path);
        } else {
            explanation.madeDirectories.push_back(change.path);
        }
    }
}

std::vector<std::string> linesOf(const std::string& log) {
    std::vector<std::string> lines;
    for (std::size_t begin = 0; begin < log.size();) {
        const std::size_t end = std::min(log.find('\n', begin), log.size());
        lines.push_back(withoutLineEnds(logLineToUtf8(log.substr(begin, end - begin))));
        begin = end + 1;
    }
    return lines;
}

// A launcher that still waits has not written its whole log yet.
void addLog(Explanation& explanation, const World& world, const LauncherRun& run) {
    const std::wstring logFile = logFileOf(world, run);
    const std::optional<std::string> file = logFile.empty() ? std::nullopt : world.machine->readFile(logFile);
    if (run.end && file) {
        explanation.log = linesOf(*file);
    } else {
        for (const std::string& line : run.recording.logLines) {
            const std::vector<std::string> lines = linesOf(line + "\n");
            explanation.log.insert(explanation.log.end(), lines.begin(), lines.end());
        }
    }
    if (!run.recording.logPath.empty()) {
        explanation.logPath = run.recording.logPath;
    }
}

Explanation explainOne(World& world, const StartOptions& options) {
    world.machine->watchDisks();
    const std::shared_ptr<LauncherRun> run = runLauncher(world, options);
    Explanation explanation;
    explanation.installPath = options.install.path;
    explanation.arguments = run->arguments;
    explanation.user = world.user;
    explanation.environment = world.environment;
    explanation.assumptions = world.assumptions;
    addChanges(explanation, world, *run);
    addEnd(explanation, *run);
    addLog(explanation, world, *run);
    const Reasons reasons(options, *run, originsOfUserFile(world, options, *run));
    explanation.role = reasons.role();
    explanation.decisions = reasons.decisions();
    explanation.waits = reasons.waits();
    addCommand(explanation, world, *run, reasons);
    addEnvironment(explanation, world, *run);
    if (explanation.message) {
        explanation.failure = explainFailure(*explanation.message, world, *run, reasons);
    }
    return explanation;
}

}  // namespace

Explanation explainNextStart(World& world, const StartOptions& options) {
    return explainOne(world, options);
}

std::vector<Explanation> explainStarts(const StartOptions& options) {
    World world = buildWorld(options);
    world.machine->playPrograms([behaviour = options.platform] { return runSimulatedPlatform(behaviour); });
    for (const auto& [path, program] : options.programs) {
        if (world.machine->exists(path)) {
            world.machine->installProgram(path, program);
        }
    }
    prepareRunningPlatform(world, options);
    if (options.beforeOperation) {
        world.machine->beforeOperation([&](const std::string& /*name*/, const std::wstring& /*argument*/) {
            options.beforeOperation();
        });
    }
    const Findings findings = findingsFor(options);
    std::vector<Explanation> explanations;
    for (int start = 0; start < options.starts; ++start) {
        explanations.push_back(explainOne(world, options));
        explanations.back().findings = findings;
        if (options.platform != Platform::running) {
            world.machine->runUntilIdle(platformsEndWithin);  // the user closes the platform
        }
    }
    return explanations;
}

}  // namespace explain
