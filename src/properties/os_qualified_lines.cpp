#include "properties/os_qualified_lines.h"

#include <algorithm>
#include <cstddef>
#include <iterator>

namespace zellauncher {

namespace {

constexpr const wchar_t* ownPlatform = L"win32";
constexpr const wchar_t* foreignPlatforms[] = {L"linux", L"macosx"};

void removeLeadingBlanks(std::wstring& line) {
    const std::size_t first = line.find_first_not_of(L' ');
    if (first != std::wstring::npos) {
        line.erase(0, first);
    }
}

}  // namespace

bool isForeignPlatformLine(std::wstring& line) {
    removeLeadingBlanks(line);
    if (line.starts_with(L"-D")) {
        return false;  // a JVM system property may be called anything
    }
    const std::wstring key = line.substr(0, line.find_first_of(L" :="));
    const std::size_t dot = key.rfind(L'.');
    if (dot == std::wstring::npos) {
        return false;
    }
    const std::wstring qualifier = key.substr(dot + 1);
    if (qualifier.starts_with(ownPlatform)) {
        line.erase(dot, key.size() - dot);
        return false;
    }
    return std::any_of(std::begin(foreignPlatforms), std::end(foreignPlatforms),
                       [&](const wchar_t* platform) { return qualifier.starts_with(platform); });
}

bool endsInContinuation(const std::wstring& line) {
    std::size_t backslashes = 0;
    for (std::size_t i = line.size(); i > 1 && line[i - 1] == L'\\'; --i) {
        ++backslashes;
    }
    return backslashes % 2 == 1;
}

}  // namespace zellauncher
