#include "foundation/paths.h"

#include <algorithm>
#include <optional>
#include <string_view>
#include <utility>
#include <vector>

#include "foundation/log_channel.h"
#include "foundation/memory.h"
#include "platform/files.h"

namespace zellauncher {

namespace {

constexpr std::wstring_view longPrefix = L"\\\\?\\";
constexpr std::size_t fullPathCapacity = 260;

std::vector<std::wstring_view> splitComponents(std::wstring_view path) {
    std::vector<std::wstring_view> components;
    std::size_t start = path.find_first_not_of(L"\\/");
    while (start != std::wstring_view::npos) {
        const std::size_t end = path.find_first_of(L"\\/", start);
        components.push_back(path.substr(start, end == std::wstring_view::npos ? end : end - start));
        start = end == std::wstring_view::npos ? end : path.find_first_not_of(L"\\/", end);
    }
    return components;
}

bool isDrive(std::wstring_view component) {
    return component.size() > 1 && component[1] == L':';
}

// Appends the components with a separator behind each. A `..` takes the component in front of it
// along, and the one behind the component that follows it too: files in the field were named by
// this rule, so it stays.
void appendNormalised(std::wstring& result, const std::vector<std::wstring_view>& components) {
    std::size_t next = 0;
    const auto take = [&] { return next < components.size() ? components[next++] : std::wstring_view(); };
    std::wstring_view current = take();
    while (!current.empty()) {
        std::wstring_view following = take();
        if (following == L"..") {
            current = take();
            if (!current.empty() && next < components.size()) {
                take();
            }
            continue;
        }
        result.append(current).append(L"\\");
        if (following == L".") {
            following = take();
        }
        current = following;
    }
}

}  // namespace

void toBackslashes(std::wstring& path) {
    std::replace(path.begin(), path.end(), L'/', L'\\');
}

void toForwardSlashes(std::wstring& path) {
    std::replace(path.begin(), path.end(), L'\\', L'/');
}

void toLongPath(std::wstring& path) {
    constexpr std::size_t spareCharacters = 5;
    std::wstring result;
    std::wstring work;
    reserveOrFail(result, path.size() + 1 + spareCharacters, "ZLNCH0028E: malloc failed!");
    reserveOrFail(work, path.size() + 1, "ZLNCH0029E: malloc failed!");
    work.assign(path, path.starts_with(longPrefix) ? longPrefix.size() : 0);
    result = longPrefix;
    const std::vector<std::wstring_view> components = splitComponents(work);
    if (components.empty() || !isDrive(components.front())) {
        logFatal("ZLNCH0140E: relative paths can not be converted to unicode path");
    }
    appendNormalised(result, components);
    if (path.back() != L'\\' && path.back() != L'/') {
        result.pop_back();
    }
    path = std::move(result);
}

void resolveWorkspacePath(const std::wstring& path, std::wstring& fullPath) {
    fullPath = path;
    const bool hasDrive = path.size() > 2 && path[1] == L':' && (path[2] == L'\\' || path[2] == L'/');
    if (hasDrive || path.starts_with(longPrefix) || path == L"\\\\") {
        return;
    }
    if (path.starts_with(L"${")) {
        logFatal("ZLNCH0301E: Starts with placeholder. This should be translated");
    }
    const std::optional<std::wstring> full =
        platform::fullPathName(path.empty() ? L"." : path, fullPathCapacity);
    if (!full) {
        logFatal("ZLNCH0302E: Unable to convert relative workspace path to a full path");
    }
    fullPath = *full;
}

}  // namespace zellauncher
