#include "launch/platform_execution.h"

#include <cstdint>
#include <optional>

#include "configuration/install_kind.h"
#include "desktop/application_identity.h"
#include "foundation/explanation.h"
#include "foundation/log_channel.h"
#include "foundation/text.h"
#include "instance/argument_hand_off.h"
#include "instance/child_start.h"
#include "instance/platform_lock.h"
#include "instance/rerun.h"
#include "javalaunch/jvm_executable.h"
#include "javalaunch/launch_command.h"
#include "kiosk/administrators.h"
#include "kiosk/termination.h"
#include "launch/console_window.h"
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

void logCommand(const std::wstring& command) {
    const ForcedLog forced;
    logDebugF(L"ZLNCH0072I: Command = '%s'", command);
}

platform::ChildProcess startPlatform(const std::wstring& command, const platform::StartInformation& start) {
    const platform::ChildProcess child = startChild(command, start);
    explainEnd(StartEnd::started);
    releasePlatformLock();
    return child;
}

bool isCurrentUserAdministrator() {
    const std::optional<std::wstring> userName = platform::currentUserName(userNameCapacity);
    if (!userName) {
        logDebug("ZLNCH0056E: ERROR calling GetUserName");
    }
    return isUserInAdminGroup(userName.value_or(L""));
}

// If the exit code cannot be read, assume the platform is still running. Otherwise a second one would be
// started beside it.
std::uint32_t readExitCode(platform::Handle process) {
    return platform::processExitCode(process).value_or(platform::exitCodeStillActive);
}

std::uint32_t superviseCommand(const std::wstring& command, const platform::StartInformation& start) {
    const platform::ChildProcess child = startPlatform(command, start);
    platform::hideWindow(findConsoleWindow());
    std::uint32_t exitCode = readExitCode(child.process);
    explainWait("the end of the supervised platform");
    while (exitCode == platform::exitCodeStillActive) {
        platform::sleepMilliseconds(supervisionPollMilliseconds);
        exitCode = readExitCode(child.process);
    }
    return exitCode;
}

void runCommand(const std::wstring& command, const platform::StartInformation& start) {
    const platform::ChildProcess child = startPlatform(command, start);
    if (waitForPlatform) {
        waitForChild(child);
    }
}

// The platform's exit code if it was supervised. Never inline: its locals would stay on the stack across
// restarts.
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

// HandleTermination may call this function again, for each restart of the platform.
void executeCommand(const std::wstring& command) {
    const std::optional<std::uint32_t> exitCode = startAndWatch(command);
    if (exitCode) {
        HandleTermination(*exitCode);
    }
}

void rerunCommand() {
    if (claimRerun()) {
        executeCommand(launchCommand);
    }
}

}  // namespace zellauncher
