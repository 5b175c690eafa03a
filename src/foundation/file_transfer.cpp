#include "foundation/file_transfer.h"

#include <cstdint>

#include "foundation/directory_removal.h"
#include "foundation/file_operations.h"
#include "foundation/file_queries.h"
#include "foundation/formatter.h"
#include "foundation/log_channel.h"
#include "foundation/paths.h"

namespace zellauncher {

namespace {

constexpr std::uint64_t asideNames = 5;

std::wstring joinLocation(const std::wstring& directory, const std::wstring& name) {
    std::wstring path = name.empty() ? directory : directory + L"\\" + name;
    toBackslashes(path);
    return path;
}

std::wstring asideName(const std::wstring& target, std::uint64_t number) {
    return target + L"deleteme" + formatText(L"%04x", {number});
}

// Removes what earlier transfers left, and returns the lowest number that was free before that. If
// none was free, returns 1, which may be free now.
std::uint64_t freeAsideNumber(const std::wstring& target) {
    std::uint64_t free = 1;
    for (std::uint64_t number = asideNames; number >= 1; --number) {
        const std::wstring name = asideName(target, number);
        if (fileExists(name)) {
            std::wstring ignoredErrors;
            removeDirectory(name, ignoredErrors);
        } else {
            free = number;
        }
    }
    return free;
}

// Renames first, because removing the directory may take several starts.
void moveDirectoryAside(const std::wstring& target) {
    const std::wstring aside = asideName(target, freeAsideNumber(target));
    if (!moveFile(target, aside)) {
        logFatalF("ZLNCH0112E: Can't move file/dir  '%ls'", target);
    }
    std::wstring ignoredErrors;
    removeDirectory(aside, ignoredErrors);
}

void clearTarget(const std::wstring& target) {
    if (!fileExists(target)) {
        return;
    }
    if (directoryExists(target)) {
        moveDirectoryAside(target);
    } else if (!deleteFile(target)) {
        logFatalF("ZLNCH0111E: Can't delete old copy of file '%ls'", target);
    }
}

}  // namespace

void transferPath(const std::wstring& targetDirectory, const std::wstring& targetName,
                  const std::wstring& sourceDirectory, const std::wstring& sourceName, Presence presence,
                  Transfer transfer) {
    const std::wstring target = joinLocation(targetDirectory, targetName);
    const std::wstring source = joinLocation(sourceDirectory, sourceName);
    if (!fileExists(source)) {
        if (presence == Presence::required) {
            logFatalF("ZLNCH0109E: Unable to locate '%ls' for copying", source);
        }
        logDebugF(L"ZLNCH0110I: '%s' not found", source);
        return;
    }
    clearTarget(target);
    if (transfer == Transfer::move) {
        if (!moveFile(source, target)) {
            logFatalF("ZLNCH0141E: Can't move file/dir  '%ls'", source);
        }
    } else if (!copyFileNoReplace(source, target)) {
        logFatalF("ZLNCH0113E: Can't copy file  '%ls'", source);
    } else {
        bringToDevice(target);
    }
}

void moveDirectoryReplacing(const std::wstring& target, const std::wstring& source, Presence presence) {
    transferPath(target, L"", source, L"", presence, Transfer::move);
}

}  // namespace zellauncher
