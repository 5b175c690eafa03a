#include "foundation/temp_log.h"

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

#include "foundation/environment.h"
#include "foundation/file_operations.h"
#include "foundation/file_queries.h"
#include "foundation/log_channel.h"
#include "foundation/paths.h"
#include "platform/files.h"

namespace zellauncher {

namespace {

constexpr std::size_t pathCapacity = 260;

// As opposed to a share.
bool isOnADrive(std::wstring_view fullPath) {
    fullPath.remove_prefix(fullPath.starts_with(longPathPrefix) ? longPathPrefix.size() : 0);
    return fullPath.size() > 1 && fullPath[1] == L':';
}

// deleteFile would end the process if TEMP lacks a drive or is a share.
void removeLeftover(const std::wstring& path) {
    const std::optional<std::wstring> full = platform::fullPathName(path, pathCapacity);
    if (full && isOnADrive(*full)) {
        deleteFile(*full);
    } else if (full) {
        platform::deleteFile(*full);
    }
}

}  // namespace

void removeTempLog() {
    const std::optional<std::wstring> directory = getEnvironmentVariable(L"TEMP");
    if (!directory) {
        logMessage("ZLNCH0136E: Couldn't find the TEMP system variable!");
    }
    const std::wstring path = withBackslashes(directory.value_or(L"") + L"\\" + logFileName());
    if (fileExists(path)) {
        removeLeftover(path);
    }
}

}  // namespace zellauncher
