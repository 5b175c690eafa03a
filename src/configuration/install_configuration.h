#pragma once

#include "platform/process_wide.h"
#include "properties/property_list.h"

// The kind of the install, from the key `install.configuration`.
namespace zellauncher {

enum class InstallConfigurationKind : int {
    service = 1,
    lockdown = 2,
    user = 3,
    serialMultiuser = 4,
    unknown = 5,
    multiuser = 6,
    multiuserService = 7,
    userpb = 8,
};

// The kind of this run; unknown before the first reading.
extern PROCESS_WIDE InstallConfigurationKind InstallConfiguration;

// Reads the kind from the list of zellauncher.properties. Always true. `forceMultiuserService`
// replaces every kind by multiuserService; no start sets it.
bool readInstallConfiguration(const PropertyList& zelLauncherArray, bool forceMultiuserService);

// True when the value of the key is `lockdown`.
bool isLockdownInstall();

// True for the kinds 1 and 7, which start Java directly and not through the native platform launcher.
bool isDirectJavaStart();

}  // namespace zellauncher
