#include "kiosk/termination.h"

#include <optional>
#include <string>

#include "foundation/log_channel.h"
#include "foundation/text.h"
#include "foundation/text_stream.h"
#include "launch/platform_execution.h"
#include "platform/child_processes.h"
#include "platform/clock.h"
#include "platform/environment.h"
#include "platform/errors.h"
#include "platform/files.h"
#include "platform/process.h"
#include "platform/process_wide.h"
#include "platform/session.h"

namespace zellauncher {

namespace {

constexpr std::uint32_t restartExitCode = 23;
constexpr std::uint32_t relaunchExitCode = 24;
constexpr std::uint32_t appearanceMilliseconds = 3000;
constexpr std::uint32_t monitorPollMilliseconds = 3500;
constexpr std::uint32_t shutdownReason = 0x40000;

PROCESS_WIDE std::wstring exitDataPath;

// The word is the whole first line, blanks included.
bool isExitData(const wchar_t* word) {
    TextStream file;
    openFile(file, exitDataPath, "r+");
    std::wstring line;
    scanLine(file, LineBlanks::keepLeading, line);
    closeTextStream(file);
    return equalIgnoringCase(line, word);
}

// Whatever fails here, the machine is told to shut down: it may still do so.
void shutDown() {
    const platform::Handle token = platform::openOwnToken();
    if (token == platform::Handle::none) {
        logDebug("ZLNCH0067E: OpenProcessToken failed.");
    }
    const platform::Privilege privilege = platform::findPrivilege(L"SeShutdownPrivilege");
    platform::adjustPrivilege(token, privilege, true);
    if (platform::lastError() != platform::errorSuccess) {
        logDebug("ZLNCH0068E: AdjustTokenPrivileges enable failed.");
    }
    platform::endSession(platform::endSessionShutdown | platform::endSessionForce, shutdownReason);
    platform::adjustPrivilege(token, privilege, false);
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

// A process that may not be asked is another user's, and none of this launcher's business.
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

void settleExitDataPath() {
    exitDataPath = platform::environmentValue(L"HOMEPATH").value_or(L"");
}

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
    platform::sleepMilliseconds(appearanceMilliseconds);
    const platform::Handle snapshot = platform::processSnapshot();
    if (snapshot == platform::Handle::none) {
        platform::exitProcess(0);
    }
    platform::ProcessEntry entry;
    for (bool more = platform::firstProcess(snapshot, entry); more;
         more = platform::nextProcess(snapshot, entry)) {
        if (equalIgnoringCase(entry.executableName, L"eclipse.exe")) {
            watchToItsEnd(entry.processId);
        }
    }
    platform::closeHandle(snapshot);
}

bool exitDataExists() {
    exitDataPath += L"\\.exitData";
    TextStream file;  // stays open, as long as the process lives
    openFile(file, exitDataPath, "r");
    return file.stream != nullptr;
}

void removeExitData() {
    exitDataPath += L"\\.exitData";
    TextStream file;
    openFile(file, exitDataPath, "r");
    if (file.stream != nullptr) {
        closeTextStream(file);
        platform::deleteFile(exitDataPath);
    }
}

}  // namespace zellauncher
