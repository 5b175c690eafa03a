#include "instance/lock_owner.h"

#include <optional>

#include "foundation/explanation.h"
#include "foundation/file_queries.h"
#include "foundation/log_channel.h"
#include "foundation/text_stream.h"
#include "instance/pipe_file.h"
#include "instance/platform_lock.h"
#include "platform/errors.h"
#include "platform/semaphores.h"

namespace zellauncher {

PROCESS_WIDE std::int32_t lockOwnerPid = 0;

namespace {

// A power failure can leave the file with its length but without its content. A restart may have written
// its blanks over the beginning since.
bool hasLostItsContent() {
    rewindTextStream(lockFileStream);
    skipWhiteSpace(lockFileStream);
    skipNuls(lockFileStream);
    return atEnd(lockFileStream) && !lockFileStream.hasFailed;
}

// Sets lockOwnerPid. False if the file has no data.
bool readOwnerRecord() {
    rewindTextStream(lockFileStream);
    std::int32_t number = 0;
    const ScanResult result = scanNumber(lockFileStream, number);
    if (result == ScanResult::endOfData || (result == ScanResult::nothing && hasLostItsContent())) {
        logDebug("ZLNCH0091E: No data in the platform lock file.");
        return false;
    }
    if (result == ScanResult::nothing) {
        logFatal("ZLNCH0092E: Error reading platform lock file.");
    }
    lockOwnerPid = number;
    return true;
}

// The name of the owner's semaphore, if its pipe file has a name from which it follows.
std::optional<std::wstring> readSemaphoreName() {
    const std::optional<std::wstring> pipe = readPipeName();
    const std::size_t leaf = pipe ? pipe->rfind(L'\\') : std::wstring::npos;
    if (leaf == std::wstring::npos) {
        return std::nullopt;
    }
    return L"Global" + pipe->substr(leaf) + L"sem";
}

platform::Handle openSemaphore(const std::wstring& name) {
    return platform::openSemaphore(name, platform::accessReadControl | platform::accessSemaphoreModifyState);
}

bool canOpenSemaphore(const std::wstring& name, SemaphoreUse use) {
    const platform::Handle semaphore = openSemaphore(name);
    explainSemaphore(name, semaphore != platform::Handle::none);
    if (semaphore == platform::Handle::none) {
        const platform::ErrorCode error = platform::lastError();
        const std::wstring reason = formatLastError();
        if (error == platform::errorAccessDenied) {
            logFatalF("ZLNCH0303E: Unable to access process. Is it elevated? '%ls'", reason);
        }
        return false;
    }
    if (use == SemaphoreUse::closeAtOnce) {
        platform::closeHandle(semaphore);
    }
    return true;
}

}  // namespace

bool isLockOwnerAlive(SemaphoreUse use) {
    if (!fileExists(lockFilePath)) {
        return false;
    }
    logDebug("ZLNCH0090E: Existing platform lock file found - checking validity.");
    if (!readOwnerRecord()) {
        return false;
    }
    const std::optional<std::wstring> semaphore = readSemaphoreName();
    return semaphore && canOpenSemaphore(*semaphore, use);
}

bool isOtherOwnerAlive(std::int32_t ownPlatform) {
    rewindTextStream(lockFileStream);
    std::int32_t owner = 0;
    if (scanNumber(lockFileStream, owner) != ScanResult::matched || owner == ownPlatform) {
        return false;
    }
    pipeName.clear();
    const std::optional<std::wstring> name = readSemaphoreName();
    if (!name) {
        return false;
    }
    const platform::Handle semaphore = openSemaphore(*name);
    if (semaphore == platform::Handle::none) {
        return platform::lastError() == platform::errorAccessDenied;
    }
    platform::closeHandle(semaphore);  // open, it would keep the semaphore alive after its platform
    return true;
}

}  // namespace zellauncher
