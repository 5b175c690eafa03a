#pragma once

#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "configuration/install_kind.h"
#include "explain/machine_setup.h"
#include "foundation/recording.h"

namespace explain {

// The variables of a launcher that an explanation needs.
struct LauncherState {
    std::wstring command;
    bool isMainProcess = false;
    zellauncher::InstallConfigurationKind kind = zellauncher::InstallConfigurationKind::unknown;
    std::wstring lockFile;
    std::wstring pipeFile;
};

// One run of the launcher on a machine, to its end or until it only waits.
struct LauncherRun {
    explicit LauncherRun(const simulation::Machine& machine);

    zellauncher::Recording recording;
    LauncherState state;
    std::optional<simulation::ProcessEnd> end;  // nothing if it still waits
    simulation::ProcessId process = 0;
    std::vector<std::wstring> arguments;  // with the program
    std::size_t firstOperation = 0;       // of the machine's, as the next one
    std::size_t firstStarted = 0;
    std::uint64_t endTime = 0;
};

// Runs the launcher with the options' arguments.
std::shared_ptr<LauncherRun> runLauncher(World& world, const StartOptions& options);

// The arguments of the launcher, argument 0 included.
std::vector<std::wstring> launcherArguments(const StartOptions& options);

}  // namespace explain
