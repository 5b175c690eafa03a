#pragma once

#include "javalaunch/command_assembly.h"
#include "properties/arguments.h"

namespace zellauncher {

// True for a start that only prepares the user and starts no platform: with both `-zelLauncherWait`
// and `-provManifest`.
bool isPreparationOnly(const Arguments& arguments);

// Decides whether the platform's provisioning application must run before the platform, and returns
// if not. Sets initialLaunch if the manifest version is new to the user. Otherwise assembles a
// provisioning command with shared classes off (changing `input` in place, since nothing follows),
// runs it under the lock, waits for its end, releases the lock and ends the process with status 0.
// The child's exit code is not read.
void runProvisioningStage(const CommandInput& input);

// Runs launchCommand as the provisioning child and waits for its end. A command that cannot be started
// ends the process (startChild).
void runProvisioningCommand();

}  // namespace zellauncher
