#include "launch/launch_sequence.h"

#include "desktop/application_identity.h"
#include "foundation/explanation.h"
#include "foundation/file_queries.h"
#include "foundation/log_channel.h"
#include "foundation/paths.h"
#include "foundation/user_files.h"
#include "foundation/waiting.h"
#include "instance/platform_lock.h"
#include "javalaunch/argument_expansion.h"
#include "javalaunch/command_assembly.h"
#include "launch/argument_screening.h"
#include "launch/first_run_arguments.h"
#include "launch/install_directory.h"
#include "launch/launch_context.h"
#include "launch/shared_steps.h"
#include "launch/user_configuration.h"
#include "launch/user_directories.h"
#include "properties/property_reader.h"
#include "provisioning/platform_xml.h"
#include "provisioning/provisioning_stage.h"

namespace zellauncher {

namespace {

// The order matters: arguments are screened before the lock is taken, and the lock is taken before the
// user's configuration changes. The log can only open once the workspace exists.
void takeWorkspace(LaunchContext& context) {
    resolveWorkspace(context);
    ensureUserDirectory(context.dataDirectory, "ZLNCH0083E: Unable to create %ls directory.");
    screenArguments(context.rawArguments);
    acquirePlatformLock(context.effectiveArgs, context.dataDirectory);
    const std::wstring logsDirectory = logsDirectoryOf(context);
    ensureUserDirectory(logsDirectory, "ZLNCH0084E: Unable to create %ls directory.");
    openRunLog(logsDirectory);
}

// Holds the start while the marker file exists, for an engineer who debugs provisioning.
void waitForDebugMarker() {
    explainWait("the removal of the debug marker file");
    while (provDebugHold && fileExists(provDebugFile)) {
        sleepSeconds(1);
    }
}

void takeConfigDirectory(LaunchContext& context) {
    resolveConfiguration(context);
    ensureUserDirectory(context.configDirectory, "ZLNCH0093E: Unable to create %ls directory.");
}

// The first source of a key wins: the user's file, then the workspace, then the restart state.
void loadRunProperties(LaunchContext& context) {
    loadPropertyFile(context.userPropsPath, context.zelInstallArray);
    toForwardSlashes(context.dataDirectory);
    logDebugF(L"ZLNCH0077I: Scrivia workspaceLocation is -  \"%s\"", context.dataDirectory);
    addProperty(context.zelInstallArray, L"scrivia.workspace.loc", context.dataDirectory);  // trims it
    collectVmProperties(context.vmargOverrides, context.zelInstallArray);
    loadPropertyFile(context.configDirectory + L"\\" + argsPropertiesName, context.zelInstallArray);
}

}  // namespace

void launchSequence(const Arguments& arguments) {
    LaunchContext context;
    context.rawArguments = arguments;

    context.zelHome = locateInstallDir(context.rawArguments);
    setLogFileName(launcherLogName);
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
        runProvisioningStage(commandInput(context));
    }
    applyInitialConfiguration(context);
    resolveApplicationIdentity(context.rawArguments, context.zelLauncherArray);
    assembleCommand(commandInput(context), CommandPurpose::platform);
    refreshUserPropertiesBackup(context);
}

}  // namespace zellauncher
