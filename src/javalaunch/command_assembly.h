#pragma once

#include <string>

#include "properties/arguments.h"
#include "properties/property_list.h"
#include "properties/vmarg_overrides.h"

namespace zellauncher {

// Writes the whole command of a start into launchCommand. Substitutes tokens in the lists and
// arguments in place, runs the cache upkeep on a main process, clears the shared classes directory
// when the manifest version differs, and changes this process's environment for the child.
// `userProvisioning` counts only with `provisioning`. Fatal: ZLNCH0088E and those of the sections.
void assembleCommand(const std::wstring& dataDirectory, Arguments& arguments, const std::wstring& zelHome,
                     PropertyList& zelInstallArray, const PropertyList& zelLauncherArray,
                     VmargOverrides& overrides, bool provisioning, bool userProvisioning);

}  // namespace zellauncher
