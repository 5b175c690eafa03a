#include "provisioning/provisioning_stage.h"

#include <string>

#include "configuration/install_configuration.h"
#include "foundation/log_channel.h"
#include "launch/launch_state.h"

namespace zellauncher {

namespace {

bool isProvisioningInstall(const PropertyList& zelLauncherArray) {
    const std::wstring* provisioning = lookupProperty(L"provisioning", zelLauncherArray);
    return provisioning != nullptr && *provisioning == L"true";
}

bool isProvisionedKind() {
    return InstallConfiguration == InstallConfigurationKind::lockdown ||
           InstallConfiguration == InstallConfigurationKind::user ||
           InstallConfiguration == InstallConfigurationKind::multiuser;
}

// The user's files hold another manifest version than the installation, or none.
bool isManifestNew(const PropertyList& zelInstallArray, const PropertyList& zelLauncherArray) {
    const std::wstring* provisioned = lookupProperty(L"provisioning.manifest.version", zelInstallArray);
    const std::wstring* shipped = lookupProperty(L"provisioning.manifest.version", zelLauncherArray);
    return provisioned == nullptr || shipped == nullptr || *provisioned != *shipped;
}

bool isProvisioningDue(const Arguments& effectiveArgs, const PropertyList& zelInstallArray,
                       const PropertyList& zelLauncherArray) {
    if (!isProvisioningInstall(zelLauncherArray) || !isProvisionedKind()) {
        return false;
    }
    if (isManifestNew(zelInstallArray, zelLauncherArray)) {
        initialLaunch = true;
        return true;
    }
    return initialLaunch ||
           (hasArgument(L"-zelLauncherWait", effectiveArgs) && hasArgument(L"-provManifest", effectiveArgs));
}

}  // namespace

void runProvisioningStage(const Arguments& effectiveArgs, const PropertyList& zelInstallArray,
                          const PropertyList& zelLauncherArray) {
    if (isProvisioningDue(effectiveArgs, zelInstallArray, zelLauncherArray)) {
        logFatal("ZELLauncher> provisioning is due, and this version can not run it");
    }
}

}  // namespace zellauncher
