#include <iterator>
#include <string_view>

#include "explain/environment.h"
#include "explain/windows_api.h"

namespace explain {

namespace {

Variables ownVariables() {
    Variables variables;
    wchar_t* block = GetEnvironmentStringsW();
    for (const wchar_t* entry = block; entry != nullptr && *entry != L'\0';) {
        const std::wstring_view text = entry;
        const std::size_t separator = text.find(L'=', 1);  // hidden variables begin with it
        if (text.front() != L'=' && separator != std::wstring_view::npos) {
            variables[std::wstring(text.substr(0, separator))] = text.substr(separator + 1);
        }
        entry += text.size() + 1;
    }
    FreeEnvironmentStringsW(block);
    return variables;
}

std::wstring ownUser() {
    wchar_t name[257] = {};
    DWORD size = static_cast<DWORD>(std::size(name));
    return GetUserNameW(name, &size) != 0 ? std::wstring(name) : std::wstring();
}

std::wstring ownCurrentDirectory() {
    std::wstring path(32768, L'\0');
    path.resize(GetCurrentDirectoryW(static_cast<DWORD>(path.size()), path.data()));
    return path;
}

}  // namespace

System ownSystem() {
    constexpr int letters = 26;
    System system;
    system.environment = ownVariables();
    system.user = ownUser();
    system.currentDirectory = ownCurrentDirectory();
    const DWORD drives = GetLogicalDrives();
    for (int i = 0; i < letters; ++i) {
        if ((drives >> i & 1U) != 0) {
            system.drives.push_back(static_cast<wchar_t>(L'A' + i));
        }
    }
    return system;
}

}  // namespace explain
