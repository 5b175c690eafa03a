#include "launch/platform_execution.h"

#include <cstdint>
#include <optional>

#include "configuration/install_configuration.h"
#include "foundation/log_channel.h"
#include "foundation/text.h"
#include "instance/argument_hand_off.h"
#include "instance/child_start.h"
#include "instance/platform_lock.h"
#include "kiosk/termination.h"
#include "launch/administrators.h"
#include "launch/console_window.h"
#include "launch/launch_state.h"
#include "platform/child_processes.h"
#include "platform/clock.h"
#include "platform/users.h"

namespace zellauncher {

namespace {

constexpr std::size_t userNameCapacity = 32767;
constexpr std::uint32_t supervisionPollMilliseconds = 500;

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

// From here on the next launcher in line may go on.
platform::ChildProcess startPlatform(const std::wstring& command, const platform::StartInformation& start) {
    const platform::ChildProcess child = startChild(command, start);
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

// A platform whose code cannot be had counts as running: taken for one that has ended, it would be started
// a second time, and again at the next failure.
std::uint32_t askForExitCode(platform::Handle process) {
    return platform::processExitCode(process).value_or(platform::exitCodeStillActive);
}

// The locked-down desktop: the launcher stays, without its window, until the platform has ended.
std::uint32_t superviseCommand(const std::wstring& command, const platform::StartInformation& start) {
    const platform::ChildProcess child = startPlatform(command, start);
    platform::hideWindow(findConsoleWindow());
    std::uint32_t exitCode = askForExitCode(child.process);
    while (exitCode == platform::exitCodeStillActive) {
        platform::sleepMilliseconds(supervisionPollMilliseconds);
        exitCode = askForExitCode(child.process);
    }
    return exitCode;
}

void runCommand(const std::wstring& command, const platform::StartInformation& start) {
    const platform::ChildProcess child = startPlatform(command, start);
    if (waitForPlatform) {
        waitForChild(child);
    }
}

// The platform's exit code when it was supervised. Never part of its caller: what is on its stack would
// else stay there for as long as the end is handled.
[[gnu::noinline]] std::optional<std::uint32_t> startAndWatch(const std::wstring& command) {
    const platform::StartInformation start = prepareStartInformation();
    const std::wstring commandLine = upToNul(command);
    logCommand(commandLine);
    const bool isLockdown = isLockdownInstall();
    const bool isAdministrator = isCurrentUserAdministrator();
    if (!isAdministrator && isLockdown) {
        return superviseCommand(commandLine, start);
    }
    runCommand(commandLine, start);
    return std::nullopt;
}

}  // namespace

void handOffOrExecute(const std::wstring& command) {
    if (isMainProcess) {
        executeCommand(command);
    } else {
        handOffToPlatform(command);
    }
}

// Handling the end may start the platform again, level below level, for as long as the machine runs.
void executeCommand(const std::wstring& command) {
    const std::optional<std::uint32_t> exitCode = startAndWatch(command);
    if (exitCode) {
        HandleTermination(*exitCode);
    }
}

void rerunCommand() {
    executeCommand(launchCommand);
}

}  // namespace zellauncher
