#include "provisioning/provisioning_stage.h"

#include <string>

#include "configuration/initial_launch.h"
#include "configuration/install_kind.h"
#include "foundation/explanation.h"
#include "foundation/log_channel.h"
#include "foundation/text.h"
#include "instance/child_start.h"
#include "instance/platform_lock.h"
#include "javalaunch/launch_command.h"
#include "platform/own_process.h"

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

// The user's manifest version is missing or differs from the install's.
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
    return initialLaunch || isPreparationOnly(effectiveArgs);
}

// Provisioning must not fill the shared-class cache of the platform.
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

bool isPreparationOnly(const Arguments& arguments) {
    return hasArgument(L"-zelLauncherWait", arguments) && hasArgument(L"-provManifest", arguments);
}

void runProvisioningStage(const CommandInput& input) {
    if (!isProvisioningDue(input.arguments, input.zelInstallArray, input.zelLauncherArray)) {
        return;
    }
    switchSharedClassesOff(input.overrides);
    logDebug(
        "ZLNCH0076I: Detected platform initial launch or user initial launch. Executing platform "
        "provisioning.");
    const CommandPurpose purpose =
        isPreparationOnly(input.arguments) ? CommandPurpose::provisioning : CommandPurpose::userProvisioning;
    assembleCommand(input, purpose);
    runProvisioningCommand();
    releasePlatformLock();
    platform::exitProcess(0);
}

void runProvisioningCommand() {
    const std::wstring command = upToNul(launchCommand);
    {
        const ForcedLog forced;
        logDebugF(L"ZLNCH0073I: Provisioning Command = '%s'", command);
    }
    waitForChild(startChild(command, {}));
    explainEnd(StartEnd::provisioned);
}

}  // namespace zellauncher
