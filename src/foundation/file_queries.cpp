#include "foundation/file_queries.h"

#include <cstdint>
#include <optional>
#include <string_view>

#include "foundation/explanation.h"
#include "foundation/paths.h"
#include "foundation/text.h"
#include "platform/files.h"

namespace zellauncher {

namespace {

std::optional<std::uint32_t> attributesOf(const std::wstring& path) {
    return platform::fileAttributes(path.starts_with(longPathPrefix) ? path.substr(longPathPrefix.size())
                                                                     : path);
}

bool hasEnding(const std::wstring& path, std::wstring_view ending) {
    return path.size() >= ending.size() &&
           equalIgnoringCase(std::wstring_view(path).substr(path.size() - ending.size()), ending);
}

}  // namespace

bool fileExists(const std::wstring& path) {
    const bool exists = attributesOf(path).has_value();
    explainFile(path, exists);
    return exists;
}

bool directoryExists(const std::wstring& path) {
    return (attributesOf(path).value_or(0) & platform::attributeDirectory) != 0;
}

bool isExecutableFile(const std::wstring& path) {
    const std::optional<std::uint32_t> attributes = attributesOf(path);
    if (!attributes) {
        return false;
    }
    return (*attributes & platform::attributeDirectory) != 0 || hasEnding(path, L".exe") ||
           hasEnding(path, L".com") || hasEnding(path, L".bat") || hasEnding(path, L".cmd");
}

}  // namespace zellauncher
