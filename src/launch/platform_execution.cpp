#include "launch/platform_execution.h"

#include <cstdint>

#include "configuration/install_configuration.h"
#include "foundation/log_channel.h"
#include "foundation/text.h"
#include "instance/argument_hand_off.h"
#include "instance/platform_lock.h"
#include "instance/process_record.h"
#include "kiosk/termination.h"
#include "launch/administrators.h"
#include "launch/console_window.h"
#include "launch/launch_state.h"
#include "platform/child_processes.h"
#include "platform/clock.h"
#include "platform/errors.h"
#include "platform/process.h"
#include "platform/users.h"

namespace zellauncher {

namespace {

constexpr std::size_t userNameCapacity = 32767;
constexpr std::size_t longestCommandLine = 32766;
constexpr std::uint32_t supervisionPollMilliseconds = 500;
constexpr std::uint32_t waitPollMilliseconds = 100;

platform::StartInformation prepareStartInformation() {
    platform::StartInformation start;
    if (preventPinning) {
        start.flags |= platform::startPreventPinning;
    }
    if (useAppUserModelId) {
        start.flags |= platform::startTitleIsAppId;
        start.title = appUserModelId;
    }
    return start;
}

// Every start leaves its command in the log, unless it is too long for one line.
void logCommand(const std::wstring& command) {
    bool saved = false;
    swapLogDebug(true, saved);
    logDebugF(L"ZLNCH0072I: Command = '%s'", command);
    setLogDebug(saved);
}

void logLikelyCause(const std::wstring& command, platform::ErrorCode error) {
    if (command.size() > longestCommandLine) {
        logDebug("ZELLauncher> the command is longer than the 32766 characters that the system can start");
    } else if (command.empty()) {
        logDebug("ZELLauncher> the command names no program: neither -vm nor the vm property is given");
    } else if (error == platform::errorFileNotFound || error == platform::errorPathNotFound) {
        logDebug("ZELLauncher> the program file that the command names is missing");
    }
}

[[noreturn]] void endWithoutChild(const std::wstring& command) {
    const platform::ErrorCode error = platform::lastError();
    setLogDebug(true);
    logDebugLastError(L"CreateProcessW");
    logLikelyCause(command, error);
    releasePlatformLock();
    platform::exitProcess(-1);
}

platform::ChildProcess startPlatform(const std::wstring& command, const platform::StartInformation& start) {
    platform::ChildProcess child;
    if (!platform::createProcess(command, start, child)) {
        endWithoutChild(command);
    }
    recordPlatformProcess(child.processId);
    releasePlatformLock();
    return child;
}

bool isCurrentUserAdministrator() {
    std::wstring userName;
    if (!platform::currentUserName(userNameCapacity, userName)) {
        logDebug("ZLNCH0056E: ERROR calling GetUserName");
    }
    return isUserInAdminGroup(userName);
}

// The locked-down desktop: the launcher stays, without its window, to decide what the platform's
// end means.
void superviseCommand(const std::wstring& command, const platform::StartInformation& start) {
    const platform::ChildProcess child = startPlatform(command, start);
    platform::hideWindow(findConsoleWindow());
    std::uint32_t exitCode = platform::processExitCode(child.process).value_or(0);
    while (exitCode == platform::exitCodeStillActive) {
        platform::sleepMilliseconds(supervisionPollMilliseconds);
        exitCode = platform::processExitCode(child.process).value_or(0);
    }
    HandleTermination(exitCode);
}

void runCommand(const std::wstring& command, const platform::StartInformation& start) {
    const platform::ChildProcess child = startPlatform(command, start);
    if (!waitForPlatform) {
        return;
    }
    while (!platform::hasProcessEnded(child.process)) {
        platform::sleepMilliseconds(waitPollMilliseconds);
    }
}

}  // namespace

void handOffOrExecute(const std::wstring& command) {
    if (isMainProcess) {
        executeCommand(command);
    } else {
        handOffToPlatform(command);
    }
}

void executeCommand(const std::wstring& command) {
    const platform::StartInformation start = prepareStartInformation();
    const std::wstring commandLine = upToNul(command);
    logCommand(commandLine);
    const bool isLockdown = isLockdownInstall();
    const bool isAdministrator = isCurrentUserAdministrator();
    if (!isAdministrator && isLockdown) {
        superviseCommand(commandLine, start);
    } else {
        runCommand(commandLine, start);
    }
}

void rerunCommand() {
    executeCommand(launchCommand);
}

}  // namespace zellauncher
