#pragma once

#include <string>

#include "properties/arguments.h"
#include "properties/property_list.h"
#include "properties/vmarg_overrides.h"

// The platform's side of the command, and the boundary to the JVM's.
namespace zellauncher {

// The native platform launcher at the head. Fatal: ZLNCH0011E, ZLNCH0007E.
void appendLauncherProgram(const PropertyList& zelInstallArray, const PropertyList& zelLauncherArray);

// The options of the platform and the user's own arguments. Fatal: ZLNCH0005E, ZLNCH0050E.
void appendPlatformArguments(const PropertyList& zelInstallArray, const PropertyList& zelLauncherArray,
                             const Arguments& arguments, const std::wstring& zelHome);

// `-startup` and the jar that the native launcher starts.
void appendStartupArgument(const PropertyList& zelInstallArray, const Arguments& arguments);

// `-vmargs`, the user's JVM arguments, the no-console fix and the overrides.
void appendVmArguments(const std::wstring& dataDirectory, const PropertyList& zelInstallArray,
                       const Arguments& arguments, bool vmIsLibrary, const VmargOverrides& overrides);

}  // namespace zellauncher
