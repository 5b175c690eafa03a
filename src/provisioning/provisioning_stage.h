#pragma once

#include <string>

#include "properties/arguments.h"
#include "properties/property_list.h"
#include "properties/vmarg_overrides.h"

namespace zellauncher {

// Decides whether the platform's provisioning application must run before the platform does, and
// sets initialLaunch when the manifest version is new to the user. Returns when nothing is to be
// provisioned. Otherwise it writes a provisioning command (shared classes off), runs it under the lock,
// waits for its end, gives the lock back and ends the process with status 0; the child's exit code is
// not read. Works on copies of the lists and arguments.
void runProvisioningStage(const std::wstring& dataDirectory, const Arguments& effectiveArgs,
                          const std::wstring& zelHome, const PropertyList& zelInstallArray,
                          const PropertyList& zelLauncherArray, VmargOverrides& overrides);

// Runs launchCommand as the provisioning child and waits for its end. A command that cannot be started
// ends the process (startChild).
void runProvisioningCommand();

}  // namespace zellauncher
