#include "instance/platform_lock.h"

#include <cstdint>

#include "foundation/file_operations.h"
#include "foundation/file_tests.h"
#include "foundation/log_channel.h"
#include "foundation/paths.h"
#include "foundation/text.h"
#include "foundation/waiting.h"
#include "instance/byte_range_lock.h"
#include "instance/lock_owner.h"
#include "launch/launch_state.h"
#include "platform/clock.h"
#include "platform/files.h"

namespace zellauncher {

PROCESS_WIDE std::wstring lockFilePath;
PROCESS_WIDE std::wstring endpointFilePath;
PROCESS_WIDE std::wstring mainRecordPath;
PROCESS_WIDE TextStream lockFileStream;

namespace {

constexpr std::uint32_t lockedBytes = 100;  // a token: it need not cover the text
constexpr int restartWaitSeconds = 20;
constexpr int removalAttempts = 10;
constexpr std::uint32_t removalPauseMilliseconds = 100;
constexpr const wchar_t* blankRecord = L"              ";

std::wstring inWorkspace(const std::wstring& dataDirectory, const wchar_t* name) {
    std::wstring path = dataDirectory + L"\\" + name;
    toBackslashes(path);
    return path;
}

// The number of the platform that asked for this restart; 0 when none is named, since word 0 is
// read in its place.
std::int32_t restartingPlatform(const Arguments& arguments) {
    const int option = findArgumentIndex(L"-zel_old_pid", arguments);
    const std::size_t number = static_cast<std::size_t>(option) + 1;
    return number < arguments.size() ? parseDecimal(arguments[number]) : 0;
}

// Lets the platform that asked for this restart end, so that its workspace is free.
void waitForRestartingPlatform(const Arguments& arguments, const std::wstring& exeName) {
    const std::int32_t oldPlatform = restartingPlatform(arguments);
    sleepSeconds(1);
    int seconds = 1;
    bool isAlive = isLockOwnerAlive(exeName, SemaphoreUse::closeAtOnce);
    while (isAlive && lockOwnerPid == oldPlatform) {
        sleepSeconds(1);
        ++seconds;
        if (seconds >= restartWaitSeconds) {
            logDebug(
                "ZLNCH0013E: Existing platform has not shutdown within allotted time. "
                "Invalidating the lockfile for new launch.");
            invalidateLockFile();
        }
        isAlive = isLockOwnerAlive(exeName, SemaphoreUse::closeAtOnce);
    }
}

void logWithTimestamp(const std::wstring& format) {
    std::wstring timestamp;
    formatTimestamp(timestamp);
    logDebugF(format, timestamp);
}

// One that stayed would be taken for that of the platform to come, and the lock given up before that
// platform can be found. Two things keep it for a moment: a launcher that waits for a restart reads it
// without the lock, and a start that was stopped here has left it under the name to which it is moved.
void removeStaleEndpoint() {
    for (int attempt = 1; attempt <= removalAttempts; ++attempt) {
        const bool isDeleted = deleteFile(endpointFilePath);
        if (!fileExists(endpointFilePath)) {
            return;
        }
        if (!isDeleted) {
            platform::sleepMilliseconds(removalPauseMilliseconds);
        }
    }
}

void becomeMainProcess() {
    logDebug("ZLNCH0304I: We are main process");
    isMainProcess = true;
    if (fileExists(endpointFilePath)) {
        staleEndpointFile = true;
        removeStaleEndpoint();
    }
}

}  // namespace

void acquirePlatformLock(const Arguments& arguments, const std::wstring& dataDirectory,
                         const std::wstring& exeName) {
    lockFilePath = inWorkspace(dataDirectory, L".zel.lock");
    endpointFilePath = inWorkspace(dataDirectory, L".pipe");
    mainRecordPath = inWorkspace(dataDirectory, L".zel.main");
    bool saved = false;
    swapLogDebug(true, saved);
    openLockFile();
    if (hasArgument(L"-restart", arguments)) {
        waitForRestartingPlatform(arguments, exeName);
    }
    lockPlatformFile(exeName);
    setLogDebug(saved);
}

void openLockFile() {
    const platform::Handle made =
        platform::createFile(lockFilePath, platform::accessRead | platform::accessWrite,
                             platform::shareRead | platform::shareWrite, platform::openFileAlways,
                             platform::attributeHidden | platform::attributeNotContentIndexed);
    platform::closeHandle(made);
    openFile(lockFileStream, lockFilePath, "r+");
    if (lockFileStream.stream == nullptr) {
        logFatal("ZLNCH0054E: Error locating platform lock file");
    }
}

void lockPlatformFile(const std::wstring& exeName) {
    LockAnswer answer = lockFileHead(lockFileStream, lockedBytes);
    while (answer != LockAnswer::done) {
        if (answer != LockAnswer::deadlock) {
            logFatal("ZLNCH0053E: Error locking platform lock file");
        }
        answer = lockFileHead(lockFileStream, lockedBytes);
    }
    logWithTimestamp(L"ZLNCH0303I: lock file captured @ %s");
    if (isLockOwnerAlive(exeName, SemaphoreUse::keepOpen)) {
        logDebug("ZLNCH0305I: We are daemon process");
    } else {
        becomeMainProcess();
    }
}

void releasePlatformLock() {
    const LockAnswer answer = unlockFileHead(lockFileStream, lockedBytes);
    bool saved = false;
    swapLogDebug(true, saved);
    logWithTimestamp(L"ZLNCH0306I: lock file released @ %s");
    setLogDebug(saved);
    if (answer == LockAnswer::failed) {
        logFatal("ZLNCH0070E: Error unlocking platform lock file");
    }
}

void invalidateLockFile() {
    rewindTextStream(lockFileStream);
    const bool isWritten = putText(lockFileStream, blankRecord) >= 0;
    if (!flushTextStream(lockFileStream) || !isWritten) {
        logDebug("ZLNCH0052E: Unable to invalidate platform lock file");
    }
}

}  // namespace zellauncher
