#pragma once

#include <string>

#include "javalaunch/jvm_resolution.h"
#include "properties/arguments.h"
#include "properties/property_list.h"
#include "properties/vmarg_overrides.h"

namespace zellauncher {

// What a sequence works out on its way from a command line to a command. Plain record, owned by the
// sequence; each item is settled by the step that its comment names and read by the later ones.
struct LaunchContext {
    Arguments rawArguments;         // the command line as it was given
    Arguments effectiveArgs;        // after the argument expansion
    std::wstring zelHome;           // the install directory, backslashes, no trailing one
    PropertyList zelLauncherArray;  // zellauncher.properties
    VmargOverrides vmargOverrides;
    std::wstring installId;
    std::wstring baseLocation;     // separators as the property has them
    std::wstring dataDirectory;    // the workspace; forward slashes once the run's properties are loaded
    std::wstring exeName;          // file name of the native platform launcher
    std::wstring configDirectory;  // mixed separators
    std::wstring userPropsPath;    // the user's zelinstall.properties
    PropertyList zelInstallArray;  // the properties of the run
    JvmRoot jvmRoot;
};

}  // namespace zellauncher
