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

// The kind of this install; unknown until readInstallConfiguration.
extern PROCESS_WIDE InstallConfigurationKind InstallConfiguration;

// Replaces the kind that the key names. No start uses multiuserService.
enum class ForcedKind { none, multiuserService };

// Reads the kind from the properties of zellauncher.properties. Always true.
bool readInstallConfiguration(const PropertyList& zelLauncherArray, ForcedKind forcedKind = ForcedKind::none);

// True if the value of the key is `lockdown`.
bool isLockdownInstall();

// True for kinds 1 and 7, which start Java directly instead of the native platform launcher.
bool isDirectJavaStart();

}  // namespace zellauncher
