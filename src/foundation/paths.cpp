#include "foundation/paths.h"

#include <algorithm>
#include <string_view>
#include <vector>

#include "foundation/log_channel.h"
#include "foundation/memory.h"

namespace zellauncher {

namespace {

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

// Appends the components, each with a separator after it. Required oddity: a `..` removes not only the
// component before it, but also the second one after it, because files in the field were named so.
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

std::wstring withBackslashes(std::wstring path) {
    toBackslashes(path);
    return path;
}

std::wstring withForwardSlashes(std::wstring path) {
    toForwardSlashes(path);
    return path;
}

std::wstring toLongPath(const std::wstring& path) {
    constexpr std::size_t spareCharacters = 5;
    std::wstring result;
    std::wstring work;
    reserveOrFail(result, path.size() + 1 + spareCharacters, "ZLNCH0028E: malloc failed!");
    reserveOrFail(work, path.size() + 1, "ZLNCH0029E: malloc failed!");
    work.assign(path, path.starts_with(longPathPrefix) ? longPathPrefix.size() : 0);
    result = longPathPrefix;
    const std::vector<std::wstring_view> components = splitComponents(work);
    if (components.empty() || !isDrive(components.front())) {
        logFatal("ZLNCH0140E: relative paths can not be converted to unicode path");
    }
    appendNormalised(result, components);
    if (path.back() != L'\\' && path.back() != L'/') {
        result.pop_back();
    }
    return result;
}

}  // namespace zellauncher
