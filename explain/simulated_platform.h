#pragma once

#include <string>

#include "explain/options.h"

// The platform that the launcher starts on the simulated machine: it publishes its pipe in the workspace,
// runs for a minute, and ends as one that is closed properly.
namespace explain {

// Exit code of a platform that restarts itself, which ends a supervision.
inline constexpr int platformExitCode = 23;

// The program of every file that can be started.
int runSimulatedPlatform(Platform behaviour);

}  // namespace explain
