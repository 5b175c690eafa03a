#include "launch/launch_sequence.h"

#include "configuration/locations.h"
#include "desktop/application_identity.h"
#include "foundation/file_tests.h"
#include "foundation/log_channel.h"
#include "foundation/paths.h"
#include "foundation/waiting.h"
#include "instance/platform_lock.h"
#include "javalaunch/command_assembly.h"
#include "launch/argument_screening.h"
#include "launch/configuration_seeding.h"
#include "launch/first_run.h"
#include "launch/install_directory.h"
#include "launch/install_reading.h"
#include "launch/jvm_loading.h"
#include "launch/launch_context.h"
#include "launch/launch_state.h"
#include "launch/user_directories.h"
#include "properties/property_reader.h"
#include "provisioning/provisioning_stage.h"
#include "provisioning/seed_files.h"

namespace zellauncher {

namespace {

// The order is the design: the screening comes before the lock, the lock before the user's
// configuration is touched, and the log opens once the workspace is there.
void takeWorkspace(LaunchContext& context) {
    resolveDataDirectory(context.dataDirectory, context.zelLauncherArray, context.effectiveArgs,
                         context.zelHome);
    ensureUserDirectory(context.dataDirectory, "ZLNCH0083E: Unable to create %ls directory.");
    screenArguments(context.rawArguments);
    platformProgramName(context.exeName, context.zelLauncherArray);
    acquirePlatformLock(context.effectiveArgs, context.dataDirectory, context.exeName);
    const std::wstring logsDirectory = logsDirectoryOf(context);
    ensureUserDirectory(logsDirectory, "ZLNCH0084E: Unable to create %ls directory.");
    openRunLog(logsDirectory);
}

// An engineer who debugs provisioning holds the start here until the marker file is gone.
void waitForDebugMarker() {
    while (provDebugHold && fileExists(provDebugFile)) {
        sleepSeconds(1);
    }
}

void takeConfigDirectory(LaunchContext& context) {
    resolveConfigDirectory(context.configDirectory, context.zelLauncherArray, context.effectiveArgs,
                           context.zelHome);
    ensureUserDirectory(context.configDirectory, "ZLNCH0093E: Unable to create %ls directory.");
}

// The user's file comes first and so wins, then the workspace, then the restart state.
void loadRunProperties(LaunchContext& context) {
    loadPropertyFile(context.userPropsPath, context.zelInstallArray);
    toForwardSlashes(context.dataDirectory);
    logDebugF(L"ZLNCH0077I: Scrivia workspaceLocation is -  \"%s\"", context.dataDirectory);
    addProperty(context.zelInstallArray, L"scrivia.workspace.loc", context.dataDirectory);
    collectVmProperties(context.vmargOverrides, context.zelInstallArray);
    loadPropertyFile(context.configDirectory + L"\\args.properties", context.zelInstallArray);
}

}  // namespace

void launchSequence(const Arguments& arguments) {
    LaunchContext context;
    context.rawArguments = arguments;

    locateInstallDir(context.zelHome, context.rawArguments);
    setLogFileName(L"zellauncher.log");
    readInstall(context);
    takeWorkspace(context);
    waitForDebugMarker();
    checkProvManifest(context.effectiveArgs);
    takeConfigDirectory(context);

    resetConfigurationIfDue(context);
    seedConfiguration(context);
    repairUserProperties(context);

    loadRunProperties(context);
    resolveJvm(context);
    seedPlatformXml(context.configDirectory, context.baseLocation, context.zelLauncherArray,
                    context.jvmRoot.externalJvm);
    if (isMainProcess) {
        runProvisioningStage(context.dataDirectory, context.effectiveArgs, context.zelHome,
                             context.zelInstallArray, context.zelLauncherArray, context.vmargOverrides);
    }
    applyInitialConfiguration(context);
    resolveApplicationIdentity(context.rawArguments, context.zelLauncherArray);
    assembleCommand(context.dataDirectory, context.effectiveArgs, context.zelHome, context.zelInstallArray,
                    context.zelLauncherArray, context.vmargOverrides, false, false);
    refreshUserPropertiesBackup(context);
}

}  // namespace zellauncher
