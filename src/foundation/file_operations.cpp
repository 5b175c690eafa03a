#include "foundation/file_operations.h"

#include <algorithm>

#include "foundation/paths.h"
#include "platform/files.h"

namespace zellauncher {

bool createDirectories(const std::wstring& path) {
    constexpr std::size_t prefixLength = 4;
    std::wstring longPath = path;
    toLongPath(longPath);
    bool isMade = true;
    std::size_t start = prefixLength;
    while (start < longPath.size()) {
        const std::size_t end = std::min(longPath.find(L'\\', start), longPath.size());
        isMade = platform::createDirectory(longPath.substr(0, end));
        start = end + 1;
    }
    return isMade;
}

bool copyFileNoReplace(const std::wstring& source, const std::wstring& target) {
    return platform::copyFile(source, target, true);
}

bool moveFile(const std::wstring& source, const std::wstring& target) {
    std::wstring longSource = source;
    std::wstring longTarget = target;
    toLongPath(longSource);
    toLongPath(longTarget);
    return platform::moveFile(longSource, longTarget, platform::moveWriteThrough);
}

bool deleteFile(const std::wstring& path) {
    std::wstring longPath = path;
    toLongPath(longPath);
    const std::wstring aside = longPath + L".deleteme";
    moveFile(longPath, aside);
    return platform::deleteFile(aside);
}

}  // namespace zellauncher
