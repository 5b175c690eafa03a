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

// Sets lockOwnerPid. False if the file is empty.
bool readOwnerRecord() {
    rewindTextStream(lockFileStream);
    std::int32_t number = 0;
    switch (scanNumber(lockFileStream, number)) {
        case ScanResult::endOfData:
            logDebug("ZLNCH0091E: No data in the platform lock file.");
            return false;
        case ScanResult::nothing:
            logFatal("ZLNCH0092E: Error reading platform lock file.");
        case ScanResult::matched:
            break;
    }
    lockOwnerPid = number;
    return true;
}

bool canOpenSemaphore(const std::wstring& name, SemaphoreUse use) {
    const platform::Handle semaphore =
        platform::openSemaphore(name, platform::accessReadControl | platform::accessSemaphoreModifyState);
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
    const std::optional<std::wstring> pipe = readPipeName();
    if (!pipe) {
        return false;
    }
    const std::size_t leaf = pipe->rfind(L'\\');
    return leaf != std::wstring::npos && canOpenSemaphore(L"Global" + pipe->substr(leaf) + L"sem", use);
}

}  // namespace zellauncher
