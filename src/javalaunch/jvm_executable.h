#pragma once

#include <string>

#include "platform/process_wide.h"
#include "properties/arguments.h"
#include "properties/property_list.h"

// Which JVM executable the command names.
namespace zellauncher {

// `-zelLauncherWait` is among the effective arguments: the launcher stays until the platform ends. Set
// by appendVmSelection.
extern PROCESS_WIDE bool waitForPlatform;

// Appends the JVM to the command: `-vm` and its path, or the program of a direct Java start. Replaces its
// file name by the console executable's if a console is wanted, and by the install's custom names. Sets
// waitForPlatform. True if the JVM is an `.ee` or `.dll` file. Fatal: ZLNCH0002E, ZLNCH0003E.
bool appendVmSelection(const PropertyList& zelInstallArray, const PropertyList& zelLauncherArray,
                       const Arguments& arguments);

// Replaces `name` at the end of `vm`. True if it was replaced. If the resulting file does not exist, the
// checked form is fatal (ZLNCH0003E), and the other leaves `vm` unchanged.
bool replaceVmNameChecked(std::wstring& vm, const std::wstring& name, const std::wstring& replacement);
bool replaceVmName(std::wstring& vm, const std::wstring& name, const std::wstring& replacement);

}  // namespace zellauncher
