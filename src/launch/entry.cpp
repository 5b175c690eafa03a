#include "launch/entry.h"

#include <cstddef>
#include <string>

#include "desktop/application_identity.h"
#include "desktop/extension_jars.h"
#include "foundation/explanation.h"
#include "foundation/file_queries.h"
#include "foundation/log_channel.h"
#include "javalaunch/launch_command.h"
#include "kiosk/exit_data.h"
#include "kiosk/shell_role.h"
#include "launch/command_only_sequence.h"
#include "launch/install_directory.h"
#include "launch/launch_sequence.h"
#include "launch/platform_execution.h"
#include "launch/version.h"
#include "platform/own_process.h"
#include "properties/arguments.h"
#include "provisioning/provisioning_stage.h"

namespace zellauncher {

namespace {

// Only a lone `-version` counts. It is answered in the log, with exit status -1.
void answerVersionQuery(const Arguments& arguments) {
    if (hasArgument(L"-version", arguments) && arguments.size() == 2) {
        logFatalF("ZLNCH0031I:   version = \"%ls\"", versionText);
    }
}

void logCommandLine(const Arguments& arguments) {
    const ForcedLog forced;
    logDebugArgs(L"ZLNCH0030I: zellauncher wmain arguments", arguments);
}

void prepareCommand(const Arguments& arguments) {
    if (hasArgument(L"-dcommand_only", arguments)) {
        commandOnlySequence(arguments);
    } else {
        launchSequence(arguments);
    }
}

// An install path without `framework` is not supported. Such a start must end with the status of an
// access violation; this does so deliberately, with the log on disk.
[[noreturn]] void endWithoutFramework(const std::wstring& installDirectory) {
    {
        const ForcedLog forced;
        logDebugF(L"ZELLauncher> no framework directory in the install path \"%s\"", installDirectory);
    }
    explainFatal();
    flushLog();
    platform::endWithAccessViolation();
}

// The jars of a companion application are in the directory `vxext` next to `framework`.
void addExtensionJars(const Arguments& arguments) {
    const std::wstring installDirectory = locateInstallDir(arguments);
    const std::size_t framework = installDirectory.find(L"framework");
    if (framework == std::wstring::npos) {
        endWithoutFramework(installDirectory);
    }
    extensionDirPattern = installDirectory.substr(0, framework) + L"vxext\\";
    if (!directoryExists(extensionDirPattern)) {
        logDebug("ZELLauncher> vxext path does not exist");
        return;
    }
    extensionDirPattern += L'*';
    logDebug("ZELLauncher> vxext path exists to update classpath");
    scanExtensionJars();
}

}  // namespace

int wmain() {
    settleExitDataPath();
    const Arguments arguments = platform::commandLineArguments();
    setLogDebug(hasArgument(L"-debug", arguments));
    answerVersionQuery(arguments);
    logCommandLine(arguments);
    platform::removeCurrentDirectoryFromLibrarySearch();
    resetLaunchCommand();
    prepareCommand(arguments);
    addExtensionJars(arguments);
    if (useAppUserModelId) {
        applyProcessAppId();
    }
    if (isPreparationOnly(arguments)) {
        explainEnd(StartEnd::prepared);
        return 0;
    }
    takeShellRoleIfDue();
    handOffOrExecute(launchCommand);
    return 0;
}

}  // namespace zellauncher
