#pragma once

#include <string>

#include "properties/arguments.h"
#include "properties/property_list.h"
#include "properties/vmarg_overrides.h"

// The platform's part of the command, `-vmargs`, and the user's JVM arguments. Each appends to
// launchCommand.
namespace zellauncher {

// Starts the command with the native platform launcher. Fatal: ZLNCH0011E, ZLNCH0007E.
void appendLauncherProgram(const PropertyList& zelInstallArray, const PropertyList& zelLauncherArray);

// The user's arguments before `-vmargs` (as launcher_options says), and the platform's options that come
// from locations and properties. Fatal: ZLNCH0005E, ZLNCH0050E.
void appendPlatformArguments(const PropertyList& zelInstallArray, const PropertyList& zelLauncherArray,
                             const Arguments& arguments, const std::wstring& zelHome);

// `-startup` and the jar that the native launcher starts: of `-perfJar`, otherwise launcher.jar.
void appendStartupArgument(const PropertyList& zelInstallArray, const Arguments& arguments);

// `-vmargs`, the user's JVM arguments, `vmfix.noconsole` for a JVM without a console, and the overrides.
void appendVmArguments(const std::wstring& dataDirectory, const PropertyList& zelInstallArray,
                       const Arguments& arguments, bool vmIsLibrary, const VmargOverrides& overrides);

}  // namespace zellauncher
