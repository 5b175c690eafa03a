#pragma once

#include <string>

#include "javalaunch/jvm_root.h"
#include "properties/arguments.h"
#include "properties/property_list.h"
#include "properties/vmarg_overrides.h"

namespace zellauncher {

// What a sequence works out between the command line and the command, step by step.
struct LaunchContext {
    Arguments rawArguments;         // the command line as given
    Arguments effectiveArgs;        // after the argument expansion
    SourcedText zelHome;            // the install directory, with backslashes
    PropertyList zelLauncherArray;  // zellauncher.properties
    VmargOverrides vmargOverrides;
    SourcedText installId;
    SourcedText baseLocation;      // separators as in the property
    SourcedText dataDirectory;     // the workspace; forward slashes once the run's properties are loaded
    SourcedText configDirectory;   // mixed separators
    std::wstring userPropsPath;    // the user's zelinstall.properties
    PropertyList zelInstallArray;  // the properties of the run
    JvmRoot jvmRoot;
};

}  // namespace zellauncher
