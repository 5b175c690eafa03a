#pragma once

#include <string>

#include "properties/arguments.h"
#include "properties/property_list.h"

// Which VM the command names.
namespace zellauncher {

// Appends the VM to the command (`-vm` and its path, or the head of a direct Java start), with the
// swap to its console name and the custom names, and sets waitForPlatform. True when the VM is an
// `.ee` or `.dll` file. Fatal: ZLNCH0002E, ZLNCH0003E.
bool appendVmSelection(const PropertyList& zelInstallArray, const PropertyList& zelLauncherArray,
                       const Arguments& arguments);

// Replaces `name` at the end of `vm`. True when vm was changed. The checked form is fatal
// (ZLNCH0003E) when the resulting file does not exist; the other then leaves vm alone.
bool replaceVmNameChecked(std::wstring& vm, const std::wstring& name, const std::wstring& replacement);
bool replaceVmName(std::wstring& vm, const std::wstring& name, const std::wstring& replacement);

}  // namespace zellauncher
