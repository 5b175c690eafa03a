#include "javalaunch/command_assembly.h"

#include <cstdint>

#include "cache/shared_class_cache.h"
#include "configuration/install_configuration.h"
#include "foundation/formatter.h"
#include "javalaunch/jvm_selection.h"
#include "javalaunch/library_path.h"
#include "javalaunch/platform_arguments.h"
#include "javalaunch/shared_classes.h"
#include "javalaunch/system_properties.h"
#include "launch/launch_command.h"
#include "launch/launch_state.h"
#include "properties/substitution.h"

namespace zellauncher {

namespace {

// What the sections read.
struct Assembly {
    const std::wstring& dataDirectory;
    const Arguments& arguments;
    const std::wstring& zelHome;
    PropertyList& zelInstallArray;
    const PropertyList& zelLauncherArray;
    const VmargOverrides& overrides;
};

// A running platform is told that the words come from a start that found it, and by which number.
void appendDaemonPair() {
    if (isMainProcess) {
        return;
    }
    appendArgument(L"-useDaemon", false);
    appendArgument(formatText(L"%d", {std::int64_t{lockOwnerPid}}), false);
}

// Without an application of its own a provisioning start runs the one that the platform is made for.
void appendProvisioningApplication(const PropertyList& zelLauncherArray, bool userProvisioning) {
    if (const std::wstring* application = lookupProperty(L"provisioning.application", zelLauncherArray)) {
        appendArgument(L"-application", false);
        appendArgument(*application, false);
    }
    if (userProvisioning) {
        appendArgument(L"-userProvLaunch", false);
    }
}

// The JVM's side, from the boundary on; the same in every start.
void appendJvmSide(const Assembly& a, bool vmIsLibrary) {
    applyLibraryPath(a.zelInstallArray);
    appendVmArguments(a.dataDirectory, a.zelInstallArray, a.arguments, vmIsLibrary, a.overrides);
    appendSystemProperties(a.zelInstallArray, a.zelLauncherArray, a.arguments, a.zelHome);
    appendBootClassPath(a.zelInstallArray);
    appendClassPath(a.zelInstallArray);
}

void assembleNativeStart(const Assembly& a) {
    appendLauncherProgram(a.zelInstallArray, a.zelLauncherArray);
    appendPlatformArguments(a.zelInstallArray, a.zelLauncherArray, a.arguments, a.zelHome);
    const bool vmIsLibrary = appendVmSelection(a.zelInstallArray, a.zelLauncherArray, a.arguments);
    appendDaemonPair();
    appendStartupArgument(a.zelInstallArray, a.arguments);
    appendJvmSide(a, vmIsLibrary);
    applyEnvironment(a.zelInstallArray);
}

void assembleProvisioningStart(const Assembly& a, bool userProvisioning) {
    appendLauncherProgram(a.zelInstallArray, a.zelLauncherArray);
    appendPlatformArguments(a.zelInstallArray, a.zelLauncherArray, a.arguments, a.zelHome);
    appendProvisioningApplication(a.zelLauncherArray, userProvisioning);
    const bool vmIsLibrary = appendVmSelection(a.zelInstallArray, a.zelLauncherArray, a.arguments);
    appendStartupArgument(a.zelInstallArray, a.arguments);
    appendJvmSide(a, vmIsLibrary);
    applyEnvironment(a.zelInstallArray);
}

void assembleDirectJavaStart(const Assembly& a) {
    const bool vmIsLibrary = appendVmSelection(a.zelInstallArray, a.zelLauncherArray, a.arguments);
    appendJvmSide(a, vmIsLibrary);
    appendArgument(L"org.eclipse.core.launcher.Main", true);
    appendPlatformArguments(a.zelInstallArray, a.zelLauncherArray, a.arguments, a.zelHome);
    applyEnvironment(a.zelInstallArray);
}

}  // namespace

void assembleCommand(const std::wstring& dataDirectory, Arguments& arguments, const std::wstring& zelHome,
                     PropertyList& zelInstallArray, const PropertyList& zelLauncherArray,
                     VmargOverrides& overrides, bool provisioning, bool userProvisioning) {
    substitutePropertyList(dataDirectory, zelHome, zelInstallArray);
    substituteArguments(dataDirectory, zelHome, arguments);
    substituteVmArguments(dataDirectory, zelHome, zelInstallArray, overrides);
    if (isMainProcess) {
        bool purged = false;
        cacheMaintenance(dataDirectory, overrides, staleEndpointFile, purged);
    }
    clearSharedClasses(zelInstallArray, zelLauncherArray);

    const Assembly assembly{dataDirectory, arguments, zelHome, zelInstallArray, zelLauncherArray, overrides};
    if (provisioning) {
        assembleProvisioningStart(assembly, userProvisioning);
    } else if (isDirectJavaStart()) {
        assembleDirectJavaStart(assembly);
    } else {
        assembleNativeStart(assembly);
    }
}

}  // namespace zellauncher
