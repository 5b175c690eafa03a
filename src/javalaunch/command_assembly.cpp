#include "javalaunch/command_assembly.h"

#include <cstdint>

#include "cache/shared_class_cache.h"
#include "configuration/install_kind.h"
#include "foundation/explanation.h"
#include "foundation/formatter.h"
#include "instance/lock_owner.h"
#include "instance/platform_lock.h"
#include "javalaunch/class_path.h"
#include "javalaunch/jvm_executable.h"
#include "javalaunch/launch_command.h"
#include "javalaunch/platform_arguments.h"
#include "javalaunch/platform_environment.h"
#include "javalaunch/system_properties.h"
#include "properties/substitution.h"

namespace zellauncher {

namespace {

// Shows the running platform that a daemon sent the command, and which process id it found.
void appendDaemonPair() {
    if (isMainProcess) {
        return;
    }
    explainSection("running platform");
    SourcedText owner = formatText(L"%d", {std::int64_t{lockOwnerPid}});
    takeSourceOfFile(owner, lockFilePath);
    appendArgument(withSourceOf(owner, L"-useDaemon"));
    appendArgument(owner);
}

// Without a provisioning application, the platform's own application runs.
void appendProvisioningApplication(const PropertyList& zelLauncherArray, CommandPurpose purpose) {
    explainSection("provisioning");
    if (const SourcedText* application = lookupProperty(L"provisioning.application", zelLauncherArray)) {
        appendArgument(withSourceOf(*application, L"-application"));
        appendArgument(*application);
    }
    if (purpose == CommandPurpose::userProvisioning) {
        appendArgument(L"-userProvLaunch");
    }
}

void appendJvmSide(const CommandInput& input, bool vmIsLibrary) {
    applyLibraryPath(input.zelInstallArray);
    appendVmArguments(input.dataDirectory, input.zelInstallArray, input.arguments, vmIsLibrary,
                      input.overrides);
    appendSystemProperties(input.zelInstallArray, input.zelLauncherArray, input.arguments, input.zelHome);
    appendBootClassPath(input.zelInstallArray);
    appendClassPath(input.zelInstallArray);
}

void assembleNativeStart(const CommandInput& input) {
    appendLauncherProgram(input.zelInstallArray, input.zelLauncherArray);
    appendPlatformArguments(input.zelInstallArray, input.zelLauncherArray, input.arguments, input.zelHome);
    const bool vmIsLibrary =
        appendVmSelection(input.zelInstallArray, input.zelLauncherArray, input.arguments);
    appendDaemonPair();
    appendStartupArgument(input.zelInstallArray, input.arguments);
    appendJvmSide(input, vmIsLibrary);
    applyEnvironment(input.zelInstallArray);
}

void assembleProvisioningStart(const CommandInput& input, CommandPurpose purpose) {
    appendLauncherProgram(input.zelInstallArray, input.zelLauncherArray);
    appendPlatformArguments(input.zelInstallArray, input.zelLauncherArray, input.arguments, input.zelHome);
    appendProvisioningApplication(input.zelLauncherArray, purpose);
    const bool vmIsLibrary =
        appendVmSelection(input.zelInstallArray, input.zelLauncherArray, input.arguments);
    appendStartupArgument(input.zelInstallArray, input.arguments);
    appendJvmSide(input, vmIsLibrary);
    applyEnvironment(input.zelInstallArray);
}

void assembleDirectJavaStart(const CommandInput& input) {
    const bool vmIsLibrary =
        appendVmSelection(input.zelInstallArray, input.zelLauncherArray, input.arguments);
    appendJvmSide(input, vmIsLibrary);
    explainSection("main class");
    appendArgument(L"org.eclipse.core.launcher.Main", Quoting::quoted);
    appendPlatformArguments(input.zelInstallArray, input.zelLauncherArray, input.arguments, input.zelHome);
    applyEnvironment(input.zelInstallArray);
}

}  // namespace

void assembleCommand(const CommandInput& input, CommandPurpose purpose) {
    substitutePropertyList(input.dataDirectory, input.zelHome, input.zelInstallArray);
    substituteArguments(input.dataDirectory, input.zelHome, input.arguments);
    substituteVmArguments(input.dataDirectory, input.zelHome, input.zelInstallArray, input.overrides);
    if (isMainProcess) {
        cacheMaintenance(input.dataDirectory, input.overrides,
                         staleEndpointFile ? FormerEnd::unclean : FormerEnd::clean);
    }
    clearSharedClasses(input.zelInstallArray, input.zelLauncherArray);
    if (purpose != CommandPurpose::platform) {
        assembleProvisioningStart(input, purpose);
    } else if (isDirectJavaStart()) {
        assembleDirectJavaStart(input);
    } else {
        assembleNativeStart(input);
    }
}

}  // namespace zellauncher
