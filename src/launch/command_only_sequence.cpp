#include "launch/command_only_sequence.h"

#include "configuration/install_files.h"
#include "foundation/explanation.h"
#include "foundation/log_channel.h"
#include "foundation/paths.h"
#include "foundation/user_files.h"
#include "instance/platform_lock.h"
#include "javalaunch/command_assembly.h"
#include "launch/argument_screening.h"
#include "launch/install_directory.h"
#include "launch/launch_context.h"
#include "launch/shared_steps.h"
#include "properties/property_reader.h"

namespace zellauncher {

namespace {

// This kind of start needs a running platform and never starts one.
void findRunningPlatform(LaunchContext& context) {
    acquirePlatformLock(context.effectiveArgs, context.dataDirectory);
    if (isMainProcess) {
        logFatalF("ZLNCH0145E: %ls process is not running", platformProgramName(context.zelLauncherArray));
    }
}

// Nothing is seeded: a user with a running platform has properties.
void loadUserProperties(LaunchContext& context) {
    context.userPropsPath = withBackslashes(context.configDirectory + L"\\" + installPropertiesName);
    explainUserProperties(context.userPropsPath);
    loadPropertyFile(context.userPropsPath, context.zelInstallArray);
    collectVmProperties(context.vmargOverrides, context.zelInstallArray);
}

}  // namespace

void commandOnlySequence(const Arguments& arguments) {
    LaunchContext context;
    context.rawArguments = arguments;

    context.zelHome = locateInstallDir(context.rawArguments);
    setLogFileName(commandOnlyLogName);
    readInstall(context);
    resolveWorkspace(context);
    openRunLog(logsDirectoryOf(context));
    screenArguments(context.rawArguments);
    findRunningPlatform(context);
    checkProvManifest(context.effectiveArgs);
    resolveConfiguration(context);
    loadUserProperties(context);
    resolveJvm(context);
    assembleCommand(commandInput(context), CommandPurpose::platform);
}

}  // namespace zellauncher
