#pragma once

#include <string>

#include "properties/arguments.h"
#include "properties/property_list.h"
#include "properties/vmarg_overrides.h"

namespace zellauncher {

// What a command is made of. References into the caller's record of the start.
struct CommandInput {
    const std::wstring& dataDirectory;
    const SourcedText& zelHome;
    Arguments& arguments;  // the effective ones
    PropertyList& zelInstallArray;
    const PropertyList& zelLauncherArray;
    VmargOverrides& overrides;
};

enum class CommandPurpose {
    platform,
    provisioning,      // the provisioning application, for an install that only prepares the user
    userProvisioning,  // the same before a start of the platform
};

// Writes the whole command of a start into launchCommand. Substitutes tokens in arguments,
// zelInstallArray and overrides in place, runs the cache maintenance on a main process, clears the
// shared classes directory if the manifest version differs, and changes this process's environment
// for the child. Fatal: ZLNCH0088E and those of the sections.
void assembleCommand(const CommandInput& input, CommandPurpose purpose);

}  // namespace zellauncher
