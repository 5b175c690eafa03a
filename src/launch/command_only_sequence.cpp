#include "launch/command_only_sequence.h"

#include "configuration/locations.h"
#include "foundation/log_channel.h"
#include "foundation/paths.h"
#include "instance/platform_lock.h"
#include "javalaunch/command_assembly.h"
#include "launch/argument_screening.h"
#include "launch/install_directory.h"
#include "launch/install_reading.h"
#include "launch/jvm_loading.h"
#include "launch/launch_context.h"
#include "launch/launch_state.h"
#include "properties/property_reader.h"

namespace zellauncher {

namespace {

// Finds the platform that runs; this kind of start never becomes the one that starts it.
void findRunningPlatform(LaunchContext& context) {
    platformProgramName(context.exeName, context.zelLauncherArray);
    acquirePlatformLock(context.effectiveArgs, context.dataDirectory, context.exeName);
    if (isMainProcess) {
        logFatalF("ZLNCH0145E: %ls process is not running", context.exeName);
    }
}

// A user with a running platform has properties; nothing is seeded here.
void loadUserProperties(LaunchContext& context) {
    context.userPropsPath = context.configDirectory + L"\\zelinstall.properties";
    toBackslashes(context.userPropsPath);
    loadPropertyFile(context.userPropsPath, context.zelInstallArray);
    collectVmProperties(context.vmargOverrides, context.zelInstallArray);
}

}  // namespace

void commandOnlySequence(const Arguments& arguments) {
    LaunchContext context;
    context.rawArguments = arguments;

    locateInstallDir(context.zelHome, context.rawArguments);
    setLogFileName(L"dcommand.log");
    readInstall(context);
    resolveDataDirectory(context.dataDirectory, context.zelLauncherArray, context.effectiveArgs,
                         context.zelHome);
    openRunLog(logsDirectoryOf(context));
    screenArguments(context.rawArguments);
    findRunningPlatform(context);
    checkProvManifest(context.effectiveArgs);
    resolveConfigDirectory(context.configDirectory, context.zelLauncherArray, context.effectiveArgs,
                           context.zelHome);
    loadUserProperties(context);
    resolveJvm(context);
    assembleCommand(context.dataDirectory, context.effectiveArgs, context.zelHome, context.zelInstallArray,
                    context.zelLauncherArray, context.vmargOverrides, false, false);
}

}  // namespace zellauncher
