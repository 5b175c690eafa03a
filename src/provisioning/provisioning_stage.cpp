#include "provisioning/provisioning_stage.h"

#include <string>

#include "configuration/install_configuration.h"
#include "foundation/log_channel.h"
#include "foundation/text.h"
#include "instance/child_start.h"
#include "instance/platform_lock.h"
#include "javalaunch/command_assembly.h"
#include "launch/launch_state.h"
#include "platform/process.h"

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

// Somebody who rolls the platform out prepares a user without starting anything.
bool isPreparationOnly(const Arguments& effectiveArgs) {
    return hasArgument(L"-zelLauncherWait", effectiveArgs) && hasArgument(L"-provManifest", effectiveArgs);
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
    return initialLaunch || isPreparationOnly(effectiveArgs);
}

// Provisioning must not fill the cache that the platform shares its classes through.
void switchSharedClassesOff(VmargOverrides& overrides) {
    if (overrides.erase(L"vmarg.Dshare") == 0) {
        logDebug(
            "ZLNCH0121I: \"vmarg.Dshare\" shared classes property was not detected. No special action needed "
            "while "
            "provisioning");
        return;
    }
    overrides.emplace(L"vmarg.Dshare", L"-Xshareclasses=none");
    logDebug(
        "ZLNCH0120I: \"vmarg.Dshare\" shared classes property found. Setting -Xsharedclasses=none while "
        "provisioning");
}

}  // namespace

void runProvisioningStage(const std::wstring& dataDirectory, const Arguments& effectiveArgs,
                          const std::wstring& zelHome, const PropertyList& zelInstallArray,
                          const PropertyList& zelLauncherArray, VmargOverrides& overrides) {
    if (!isProvisioningDue(effectiveArgs, zelInstallArray, zelLauncherArray)) {
        return;
    }
    switchSharedClassesOff(overrides);
    logDebug(
        "ZLNCH0076I: Detected platform initial launch or user initial launch. Executing platform "
        "provisioning.");
    Arguments arguments = effectiveArgs;
    PropertyList installProperties = zelInstallArray;
    assembleCommand(dataDirectory, arguments, zelHome, installProperties, zelLauncherArray, overrides, true,
                    !isPreparationOnly(effectiveArgs));
    runProvisioningCommand();
    releasePlatformLock();
    platform::exitProcess(0);
}

void runProvisioningCommand() {
    const std::wstring command = upToNul(launchCommand);
    bool saved = false;
    swapLogDebug(true, saved);
    logDebugF(L"ZLNCH0073I: Provisioning Command = '%s'", command);
    setLogDebug(saved);
    waitForChild(startChild(command, {}));
}

}  // namespace zellauncher
