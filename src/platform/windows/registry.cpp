#include "platform/registry.h"

#include <cstring>
#include <vector>

#include "platform/windows/windows_api.h"

namespace platform {

namespace {

HKEY systemKey(RegistryKey key) {
    return reinterpret_cast<HKEY>(static_cast<std::uintptr_t>(key));
}

// The registry functions return their error code instead of leaving it in GetLastError.
bool hasSucceeded(LSTATUS status) {
    SetLastError(static_cast<DWORD>(status));
    return status == ERROR_SUCCESS;
}

}  // namespace

RegistryKey openRegistryKey(RegistryRoot root, const std::wstring& path, std::uint32_t access) {
    HKEY rootKey = root == RegistryRoot::localMachine ? HKEY_LOCAL_MACHINE : HKEY_CURRENT_USER;
    HKEY opened = nullptr;
    if (!hasSucceeded(RegOpenKeyExW(rootKey, path.c_str(), 0, access, &opened))) {
        return RegistryKey::none;
    }
    return static_cast<RegistryKey>(reinterpret_cast<std::uintptr_t>(opened));
}

std::optional<std::wstring> queryRegistryText(RegistryKey key, const std::wstring& valueName,
                                              std::uint32_t& size) {
    // Never an empty buffer: without one the system only reports the size, and calls that a success. Room for
    // the upper half of a last character that has only one byte.
    std::vector<BYTE> data(std::size_t{size} + sizeof(wchar_t));
    DWORD bytes = size;
    const LSTATUS status =
        RegQueryValueExW(systemKey(key), valueName.c_str(), nullptr, nullptr, data.data(), &bytes);
    if (status == ERROR_SUCCESS || status == ERROR_MORE_DATA) {
        size = bytes;
    }
    if (!hasSucceeded(status)) {
        return std::nullopt;
    }
    std::wstring value((bytes + 1) / sizeof(wchar_t), L'\0');
    std::memcpy(value.data(), data.data(), value.size() * sizeof(wchar_t));
    return value.substr(0, value.find(L'\0'));
}

bool setRegistryText(RegistryKey key, const std::wstring& valueName, const std::wstring& text) {
    const auto bytes = static_cast<DWORD>((text.size() + 1) * sizeof(wchar_t));
    return hasSucceeded(RegSetValueExW(systemKey(key), valueName.c_str(), 0, REG_SZ,
                                       reinterpret_cast<const BYTE*>(text.c_str()), bytes));
}

bool setRegistryNumber(RegistryKey key, const std::wstring& valueName, std::uint32_t number) {
    BYTE data[sizeof(number)];
    std::memcpy(data, &number, sizeof(number));
    return hasSucceeded(RegSetValueExW(systemKey(key), valueName.c_str(), 0, REG_DWORD, data, sizeof(data)));
}

void closeRegistryKey(RegistryKey key) {
    if (key != RegistryKey::none) {
        RegCloseKey(systemKey(key));
    }
}

}  // namespace platform
