#include "explain/launcher_run.h"

#include "instance/pipe_file.h"
#include "instance/platform_lock.h"
#include "javalaunch/launch_command.h"
#include "launch/entry.h"

namespace explain {

namespace {

constexpr std::uint64_t longestRunMilliseconds = std::uint64_t{15} * 60 * 1000;
constexpr std::uint64_t mostOperations = 5'000'000;

LauncherState stateOfThisThread() {
    return {zellauncher::launchCommand, zellauncher::isMainProcess, zellauncher::InstallConfiguration,
            zellauncher::lockFilePath, zellauncher::endpointFilePath};
}

// Takes the launcher's variables over however its process ends. One that still waits is stopped with its
// machine, so the run must not end before.
class StateKeeper {
public:
    explicit StateKeeper(std::shared_ptr<LauncherRun> launcherRun) : run(std::move(launcherRun)) {
        zellauncher::recording = &run->recording;
    }
    ~StateKeeper() { run->state = stateOfThisThread(); }
    StateKeeper(const StateKeeper&) = delete;
    StateKeeper& operator=(const StateKeeper&) = delete;

private:
    std::shared_ptr<LauncherRun> run;
};

}  // namespace

LauncherRun::LauncherRun(const simulation::Machine& machine)
    : recording([&machine] { return machine.elapsedMilliseconds(); },
                [&machine] { return machine.operationCount(); }),
      firstOperation(machine.operationCount()),
      firstStarted(machine.startedProcesses().size()) {}

std::vector<std::wstring> launcherArguments(const StartOptions& options) {
    std::vector<std::wstring> arguments = {options.program.value_or(launcherPath(options))};
    arguments.insert(arguments.end(), options.arguments.begin(), options.arguments.end());
    return arguments;
}

std::shared_ptr<LauncherRun> runLauncher(World& world, const StartOptions& options) {
    simulation::Machine& machine = *world.machine;
    machine.limitOperations(mostOperations);
    auto run = std::make_shared<LauncherRun>(machine);
    run->arguments = launcherArguments(options);
    run->process = machine.start(run->arguments, [run] {
        const StateKeeper keeper(run);
        return zellauncher::wmain();
    });
    machine.setModule(run->process, launcherPath(options));
    run->end = machine.waitFor(run->process, longestRunMilliseconds);
    if (!run->end) {
        machine.stop(run->process);
    }
    run->endTime = machine.elapsedMilliseconds();
    return run;
}

}  // namespace explain
