#include "instance/lock_owner.h"

#include "foundation/file_tests.h"
#include "foundation/log_channel.h"
#include "foundation/text_stream.h"
#include "instance/platform_lock.h"
#include "launch/launch_state.h"
#include "platform/errors.h"
#include "platform/interprocess.h"

namespace zellauncher {

PROCESS_WIDE std::wstring pipeName;

namespace {

// The owner's number goes to lockOwnerPid; false when none was ever recorded.
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

// The platform holds a semaphore that is called after the last component of its pipe's name.
bool canOpenSemaphore(const std::wstring& name, SemaphoreUse use) {
    const platform::Handle semaphore =
        platform::openSemaphore(name, platform::accessReadControl | platform::accessSemaphoreModifyState);
    if (semaphore == platform::Handle::none) {
        const platform::ErrorCode error = platform::lastError();
        std::wstring reason;
        formatLastError(reason);
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

bool isLockOwnerAlive(const std::wstring& /*exeName*/, SemaphoreUse use) {
    if (!fileExists(lockFilePath)) {
        return false;
    }
    logDebug("ZLNCH0090E: Existing platform lock file found - checking validity.");
    std::wstring name;
    if (!readOwnerRecord() || !readPipeName(name)) {
        return false;
    }
    const std::size_t leaf = name.rfind(L'\\');
    return leaf != std::wstring::npos && canOpenSemaphore(L"Global" + name.substr(leaf) + L"sem", use);
}

bool readPipeName(std::wstring& name) {
    if (!pipeName.empty()) {
        name = pipeName;
        return true;
    }
    if (!fileExists(endpointFilePath)) {
        return false;
    }
    TextStream endpoint;
    openFile(endpoint, endpointFilePath, "r");
    if (endpoint.stream == nullptr) {
        return false;
    }
    std::wstring line;
    scanLine(endpoint, LineBlanks::skipLeading, line);
    closeTextStream(endpoint);
    if (line.empty()) {
        return false;  // a platform that has made the file and not yet written it has no name
    }
    name = line;
    pipeName = line;
    return true;
}

}  // namespace zellauncher
