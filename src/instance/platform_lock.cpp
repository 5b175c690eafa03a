#include "instance/platform_lock.h"

#include <cstdint>

#include "foundation/explanation.h"
#include "foundation/file_queries.h"
#include "foundation/log_channel.h"
#include "foundation/paths.h"
#include "foundation/text.h"
#include "foundation/user_files.h"
#include "foundation/waiting.h"
#include "instance/byte_range_lock.h"
#include "instance/lock_owner.h"
#include "instance/pipe_file.h"
#include "platform/files.h"

namespace zellauncher {

PROCESS_WIDE bool isMainProcess = false;
PROCESS_WIDE bool staleEndpointFile = false;
PROCESS_WIDE std::wstring lockFilePath;
PROCESS_WIDE std::wstring mainRecordPath;
PROCESS_WIDE TextStream lockFileStream;

namespace {

constexpr std::uint32_t lockedBytes = 100;  // any agreed range serves
constexpr int restartWaitSeconds = 20;
constexpr int relockRounds = 33;  // of nine seconds
constexpr const wchar_t* blankRecord = L"              ";

std::wstring inWorkspace(const std::wstring& dataDirectory, const wchar_t* name) {
    return withBackslashes(dataDirectory + L"\\" + name);
}

// The process id of the platform that asked for this restart. Required oddity: without `-zel_old_pid`,
// argument 0 is parsed, which gives 0 for a path.
std::int32_t restartingPlatform(const Arguments& arguments) {
    const int option = findArgumentIndex(L"-zel_old_pid", arguments);
    const std::size_t number = static_cast<std::size_t>(option) + 1;
    return number < arguments.size() ? parseDecimal(arguments[number]) : 0;
}

// Waits until the platform that asked for this restart has ended and its workspace is free.
void waitForRestartingPlatform(const Arguments& arguments) {
    const std::int32_t oldPlatform = restartingPlatform(arguments);
    explainWait("the end of the platform that asked for the restart", restartWaitSeconds * 1000);
    sleepSeconds(1);
    int seconds = 1;
    bool isAlive = isLockOwnerAlive(SemaphoreUse::closeAtOnce);
    while (isAlive && lockOwnerPid == oldPlatform) {
        sleepSeconds(1);
        ++seconds;
        if (seconds >= restartWaitSeconds) {
            logDebug(
                "ZLNCH0013E: Existing platform has not shutdown within allotted time. "
                "Invalidating the lockfile for new launch.");
            invalidateLockFile();
        }
        isAlive = isLockOwnerAlive(SemaphoreUse::closeAtOnce);
    }
}

void logWithTimestamp(const std::wstring& format) {
    logDebugF(format, formatTimestamp());
}

void becomeMainProcess() {
    logDebug("ZLNCH0304I: We are main process");
    isMainProcess = true;
    if (hasStalePipeFile()) {
        staleEndpointFile = true;
        removeStalePipeFile();
    }
}

}  // namespace

void acquirePlatformLock(const Arguments& arguments, const std::wstring& dataDirectory) {
    lockFilePath = inWorkspace(dataDirectory, lockFileName);
    endpointFilePath = inWorkspace(dataDirectory, pipeFileName);
    mainRecordPath = inWorkspace(dataDirectory, mainRecordName);
    const ForcedLog forced;
    openLockFile();
    if (hasArgument(L"-restart", arguments)) {
        waitForRestartingPlatform(arguments);
    }
    lockPlatformFile();
}

void openLockFile() {
    const platform::Handle made =
        platform::createFile(lockFilePath, platform::accessRead | platform::accessWrite,
                             platform::shareRead | platform::shareWrite, platform::openFileAlways,
                             platform::attributeHidden | platform::attributeNotContentIndexed);
    platform::closeHandle(made);
    lockFileStream = openFile(lockFilePath, "r+");
    if (lockFileStream.stream == nullptr) {
        logFatal("ZLNCH0054E: Error locating platform lock file");
    }
}

void lockPlatformFile() {
    explainWait("the lock of the workspace");
    LockAnswer answer = lockFileHead(lockFileStream, lockedBytes);
    while (answer != LockAnswer::done) {
        if (answer != LockAnswer::deadlock) {
            logFatal("ZLNCH0053E: Error locking platform lock file");
        }
        answer = lockFileHead(lockFileStream, lockedBytes);
    }
    logWithTimestamp(L"ZLNCH0303I: lock file captured @ %s");
    Decision role(Subject::role);
    if (isLockOwnerAlive(SemaphoreUse::keepOpen)) {
        logDebug("ZLNCH0305I: We are daemon process");
    } else {
        becomeMainProcess();
    }
    role.made(lockFilePath);
}

bool relockPlatformFile() {
    LockAnswer answer = lockFileHead(lockFileStream, lockedBytes);
    for (int round = 1; answer == LockAnswer::deadlock && round < relockRounds; ++round) {
        answer = lockFileHead(lockFileStream, lockedBytes);
    }
    return answer == LockAnswer::done;
}

void releasePlatformLock() {
    const LockAnswer answer = unlockFileHead(lockFileStream, lockedBytes);
    {
        const ForcedLog forced;
        logWithTimestamp(L"ZLNCH0306I: lock file released @ %s");
    }
    if (answer == LockAnswer::failed) {
        logFatal("ZLNCH0070E: Error unlocking platform lock file");
    }
}

void invalidateLockFile() {
    rewindTextStream(lockFileStream);
    const bool isWritten = putText(lockFileStream, blankRecord) >= 0;
    flushTextStream(lockFileStream);
    if (!isWritten) {
        logDebug("ZLNCH0052E: Unable to invalidate platform lock file");
    }
}

}  // namespace zellauncher
