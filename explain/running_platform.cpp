#include "explain/running_platform.h"

#include <algorithm>

#include "explain/encoding.h"
#include "explain/launcher_run.h"
#include "explain/simulated_platform.h"

namespace explain {

namespace {

constexpr const char* madeUpProcessId = "4096          ";
constexpr const char* madeUpPipe = "\\\\.\\pipe\\platform-4096\r\n";

struct PlatformFiles {
    std::wstring lockFile;
    std::wstring pipeFile;
};

// Where the launcher looks for a platform; empty if this start ends before that. It says so itself, on a
// machine of its own.
PlatformFiles findPlatformFiles(const StartOptions& options) {
    World world = buildWorld(options);
    world.machine->playPrograms([] { return runSimulatedPlatform(Platform::endsAtOnce); });
    const std::shared_ptr<LauncherRun> run = runLauncher(world, options);
    return {run->state.lockFile, run->state.pipeFile};
}

bool isBlank(const std::optional<std::string>& content) {
    return !content || content->find_first_not_of(" \t\r\n") == std::string::npos;
}

void makeUpIfMissing(World& world, const std::wstring& path, const char* content, const char* what) {
    if (isBlank(world.machine->readFile(path)) && putFile(world, path, content)) {
        world.assumptions.push_back(std::string(what) + " in " + toUtf8(path));
    }
}

// The semaphore of the pipe that a launcher asks for exists, and the pipe is as the platform is.
void serve(World& world, Platform behaviour) {
    simulation::Machine& machine = *world.machine;
    machine.beforeOperation([&machine, behaviour](const std::string& name, const std::wstring& argument) {
        if (name == "openSemaphore") {
            machine.createSemaphore(argument, simulation::SemaphoreAccess::granted);
        } else if (name == "waitNamedPipe" && behaviour != Platform::endsAtOnce) {
            const bool isBusy = behaviour == Platform::hangs;
            machine.createPipe(argument, isBusy ? simulation::Machine::PipeState::busy
                                                : simulation::Machine::PipeState::free);
        }
    });
}

// The arguments that decide about the workspace.
std::vector<std::wstring> locationArguments(const StartOptions& options) {
    std::vector<std::wstring> kept;
    for (std::size_t i = 0; i + 1 < options.arguments.size(); ++i) {
        if (options.arguments[i] == L"-data" || options.arguments[i] == L"-config") {
            kept.push_back(options.arguments[i]);
            kept.push_back(options.arguments[++i]);
        }
    }
    return kept;
}

// An earlier start must have started the platform. True if that start works.
bool startBefore(World& world, StartOptions options) {
    options.arguments = locationArguments(options);
    const std::shared_ptr<LauncherRun> run = runLauncher(world, options);
    return run->recording.end == zellauncher::StartEnd::started;
}

}  // namespace

void prepareRunningPlatform(World& world, const StartOptions& options) {
    if (options.platform == Platform::none) {
        return;
    }
    const PlatformFiles files = findPlatformFiles(options);
    if (files.lockFile.empty()) {
        return;
    }
    const bool isNew = !world.machine->exists(files.lockFile);
    if (options.platform == Platform::running && isNew && startBefore(world, options)) {
        world.assumptions.emplace_back("an earlier start of this user, whose platform is running");
        return;
    }
    if (options.platform == Platform::running) {
        makeUpIfMissing(world, files.lockFile, madeUpProcessId, "the process id of the running platform");
        makeUpIfMissing(world, files.pipeFile, madeUpPipe, "the name of its pipe");
    }
    const bool isRunning = !isBlank(world.machine->readFile(files.lockFile)) &&
                           !isBlank(world.machine->readFile(files.pipeFile));
    if (isRunning) {
        serve(world, options.platform);
    }
}

}  // namespace explain
