#include "foundation/file_operations.h"

#include <algorithm>
#include <cstdint>
#include <optional>

#include "foundation/memory.h"
#include "foundation/paths.h"
#include "platform/files.h"

namespace zellauncher {

namespace {

// A copy has the attributes of its original. A read-only one could never be deleted again.
void makeWritable(const std::wstring& path) {
    const std::optional<std::uint32_t> attributes = platform::fileAttributes(path);
    if (attributes && (*attributes & platform::attributeReadOnly) != 0) {
        platform::setFileAttributes(path, *attributes & ~platform::attributeReadOnly);
    }
}

}  // namespace

bool createDirectories(const std::wstring& path) {
    const std::wstring longPath = toLongPath(path);
    std::wstring level = newString(path.size() + longPathPrefix.size() + 2);
    std::wstring levels = newString(path.size() + 1);
    level = longPathPrefix;
    levels.assign(longPath, std::min(longPathPrefix.size(), longPath.size()));
    bool isMade = true;
    for (std::size_t start = 0; start < levels.size();) {
        const std::size_t end = std::min(levels.find(L'\\', start), levels.size());
        level.append(levels, start, end - start);
        isMade = platform::createDirectory(level);
        level += L'\\';
        start = end + 1;
    }
    return isMade;
}

bool copyFileNoReplace(const std::wstring& source, const std::wstring& target) {
    if (!platform::copyFile(source, target, platform::ExistingTarget::isFailure)) {
        return false;
    }
    makeWritable(target);
    return true;
}

void bringToDevice(const std::wstring& path) {
    platform::flushFile(path);
}

bool moveFile(const std::wstring& source, const std::wstring& target) {
    const std::wstring longSource = toLongPath(source);
    const std::wstring longTarget = toLongPath(target);
    return platform::moveFile(longSource, longTarget, platform::moveWriteThrough);
}

bool deleteFile(const std::wstring& path) {
    const std::wstring longPath = toLongPath(path);
    const std::wstring aside = longPath + L".deleteme";
    moveFile(longPath, aside);
    return platform::deleteFile(aside);
}

}  // namespace zellauncher
