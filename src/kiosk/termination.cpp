#include "kiosk/termination.h"

#include <optional>

#include "foundation/explanation.h"
#include "foundation/log_channel.h"
#include "foundation/text.h"
#include "kiosk/exit_data.h"
#include "platform/child_processes.h"
#include "platform/clock.h"
#include "platform/own_process.h"
#include "platform/session.h"

namespace zellauncher {

namespace {

constexpr std::uint32_t restartExitCode = 23;
constexpr std::uint32_t relaunchExitCode = 24;
constexpr std::uint32_t appearanceMilliseconds = 3000;
constexpr std::uint32_t monitorPollMilliseconds = 3500;
constexpr std::uint32_t shutdownReason = 0x40000;

// The shutdown is requested even if the privilege could not be enabled, because it may still work.
void shutDown() {
    const platform::Handle token = platform::openOwnToken();
    if (token == platform::Handle::none) {
        logDebug("ZLNCH0067E: OpenProcessToken failed.");
    }
    const platform::Privilege privilege = platform::findPrivilege(L"SeShutdownPrivilege");
    if (!platform::adjustPrivilege(token, privilege, platform::PrivilegeState::enabled)) {
        logDebug("ZLNCH0068E: AdjustTokenPrivileges enable failed.");
    }
    platform::endSession(platform::endSessionShutdown | platform::endSessionForce, shutdownReason);
    platform::adjustPrivilege(token, privilege, platform::PrivilegeState::disabled);
}

void startAgain(const char* reason) {
    logDebug(reason);
    rerunCommand();
}

void handleOrderlyEnd() {
    if (!exitDataExists()) {
        startAgain("ZLNCH0026I: ExitDate file does not exists. Assume error condition. Restart workbench.");
    } else if (isExitData(L"LOGOFF")) {
        removeExitData();
        platform::endSession(platform::endSessionLogoff | platform::endSessionForce, 0);
    } else if (isExitData(L"SHUTDOWN")) {
        removeExitData();
        shutDown();
    } else if (isExitData(L"RESTART")) {
        removeExitData();
        monitorPlatformProcess();
    } else {
        startAgain(
            "ZLNCH0078I: ExitDate file exists but contents were not logoff or shutdown. Restart workbench.");
    }
}

// A process whose exit code cannot be read belongs to another user and is ignored.
void watchToItsEnd(std::uint32_t processId) {
    const platform::Handle process = platform::openProcess(processId);
    std::optional<std::uint32_t> exitCode = platform::processExitCode(process);
    while (exitCode == platform::exitCodeStillActive) {
        platform::sleepMilliseconds(monitorPollMilliseconds);
        exitCode = platform::processExitCode(process);
    }
    if (exitCode) {
        HandleTermination(*exitCode);
    }
}

}  // namespace

void HandleTermination(std::uint32_t exitCode) {
    platform::sendToDebugger(L"Inside HandleTermination...");
    if (exitCode == 0) {
        handleOrderlyEnd();
    } else if (exitCode == restartExitCode || exitCode == relaunchExitCode) {
        monitorPlatformProcess();
    } else {
        startAgain("ZLNCH0027I: exit code is not 0 - assume invalid exit condition. Restart workbench.");
    }
}

void monitorPlatformProcess() {
    explainWait("the platform that restarts itself");
    platform::sleepMilliseconds(appearanceMilliseconds);
    const platform::Handle snapshot = platform::processSnapshot();
    if (snapshot == platform::Handle::none) {
        platform::exitProcess(0);
    }
    for (auto entry = platform::firstProcess(snapshot); entry; entry = platform::nextProcess(snapshot)) {
        if (equalIgnoringCase(entry->executableName, L"eclipse.exe")) {
            watchToItsEnd(entry->processId);
        }
    }
    platform::closeHandle(snapshot);
}

}  // namespace zellauncher
