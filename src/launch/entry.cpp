#include "launch/entry.h"

#include <string>

#include "desktop/application_identity.h"
#include "desktop/extension_jars.h"
#include "foundation/file_tests.h"
#include "foundation/log_channel.h"
#include "foundation/text.h"
#include "kiosk/shell_role.h"
#include "kiosk/termination.h"
#include "launch/administrators.h"
#include "launch/command_only_sequence.h"
#include "launch/install_directory.h"
#include "launch/launch_sequence.h"
#include "launch/launch_state.h"
#include "launch/platform_execution.h"
#include "platform/child_processes.h"
#include "platform/process.h"
#include "platform/users.h"
#include "properties/arguments.h"

namespace zellauncher {

namespace {

constexpr std::size_t userNameCapacity = 32767;

// A version query is the option alone; it is answered in the log, and its status is a failure's.
void answerVersionQuery(const Arguments& arguments) {
    if (hasArgument(L"-version", arguments) && arguments.size() == 2) {
        logFatalF("ZLNCH0031I:   version = \"%ls\"", versionText);
    }
}

// What somebody asked for stands in every log, debug flag or not.
void logCommandLine(const Arguments& arguments) {
    bool saved = false;
    swapLogDebug(true, saved);
    logDebugArgs(L"ZLNCH0030I: zellauncher wmain arguments", arguments);
    setLogDebug(saved);
}

// Until a section writes the head of the command, it is a text that ends at once: what is appended
// to it is never seen, so a command without a program is never run by accident.
void resetLaunchCommand() {
    launchCommand.assign(1, L'\0');
}

void prepareCommand(const Arguments& arguments) {
    if (hasArgument(L"-dcommand_only", arguments)) {
        commandOnlySequence(arguments);
    } else {
        launchSequence(arguments);
    }
}

// An install outside a `framework` directory has no place for a companion's jars, and the product
// does not support it: such a start ends as a memory fault would, but on purpose and with its log
// on the disk.
[[noreturn]] void endWithoutFramework(const std::wstring& installDirectory) {
    bool saved = false;
    swapLogDebug(true, saved);
    logDebugF(L"ZELLauncher> no framework directory in the install path \"%s\"", installDirectory);
    setLogDebug(saved);
    flushLog();
    platform::endWithAccessViolation();
}

// The jars of a companion application, from the directory beside the platform's own.
void addExtensionJars(const Arguments& arguments) {
    std::wstring installDirectory;
    locateInstallDir(installDirectory, arguments);
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

// An install that only prepares a user: the preparation has happened, nothing is started.
bool isPreparationOnly(const Arguments& arguments) {
    return hasArgument(L"-zelLauncherWait", arguments) && hasArgument(L"-provManifest", arguments);
}

bool isExplorerListed(platform::Handle snapshot) {
    platform::ProcessEntry entry;
    for (bool more = platform::firstProcess(snapshot, entry); more;
         more = platform::nextProcess(snapshot, entry)) {
        if (equalIgnoringCase(entry.executableName, L"Explorer.exe")) {
            return true;
        }
    }
    return false;
}

// On a kiosk machine an administrator who has no desktop yet gets one in place of the platform.
void takeShellRoleIfDue() {
    if (!isKioskShellActive()) {
        return;
    }
    std::wstring userName;
    if (!platform::currentUserName(userNameCapacity, userName)) {
        logDebug("ZLNCH0130E: ERROR calling GetUserName");
    }
    if (!isUserInAdminGroup(userName)) {
        return;
    }
    const platform::Handle snapshot = platform::processSnapshot();
    if (snapshot == platform::Handle::none || !isExplorerListed(snapshot)) {
        runKioskShellRole();
    }
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
        return 0;
    }
    takeShellRoleIfDue();
    handOffOrExecute(launchCommand);
    return 0;
}

}  // namespace zellauncher
