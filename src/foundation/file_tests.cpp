#include "foundation/file_tests.h"

#include <cstdint>
#include <optional>
#include <string_view>

#include "platform/files.h"

namespace zellauncher {

namespace {

constexpr std::wstring_view longPrefix = L"\\\\?\\";

std::optional<std::uint32_t> attributesOf(const std::wstring& path) {
    return platform::fileAttributes(path.starts_with(longPrefix) ? path.substr(longPrefix.size()) : path);
}

bool hasEnding(const std::wstring& path, std::wstring_view ending) {
    if (path.size() < ending.size()) {
        return false;
    }
    for (std::size_t i = 0; i < ending.size(); ++i) {
        const wchar_t unit = path[path.size() - ending.size() + i];
        const wchar_t lower =
            unit >= L'A' && unit <= L'Z' ? static_cast<wchar_t>(unit + (L'a' - L'A')) : unit;
        if (lower != ending[i]) {
            return false;
        }
    }
    return true;
}

}  // namespace

bool fileExists(const std::wstring& path) {
    return attributesOf(path).has_value();
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
