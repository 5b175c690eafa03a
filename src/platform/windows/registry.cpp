#include "platform/registry.h"

#include <cstring>
#include <vector>

#include "platform/windows/windows_api.h"

namespace platform {

namespace {

HKEY systemKey(RegistryKey key) {
    return reinterpret_cast<HKEY>(static_cast<std::uintptr_t>(key));
}

}  // namespace

std::uint32_t openRegistryKey(RegistryRoot root, const std::wstring& path, std::uint32_t access,
                              RegistryKey& key) {
    HKEY opened = nullptr;
    const LSTATUS status =
        RegOpenKeyExW(root == RegistryRoot::localMachine ? HKEY_LOCAL_MACHINE : HKEY_CURRENT_USER,
                      path.c_str(), 0, access, &opened);
    key = status == ERROR_SUCCESS ? static_cast<RegistryKey>(reinterpret_cast<std::uintptr_t>(opened))
                                  : RegistryKey::none;
    return static_cast<std::uint32_t>(status);
}

std::uint32_t queryRegistryText(RegistryKey key, const std::wstring& valueName, std::uint32_t& size,
                                std::wstring& text) {
    std::vector<BYTE> data(size);
    DWORD bytes = size;
    const LSTATUS status =
        RegQueryValueExW(systemKey(key), valueName.c_str(), nullptr, nullptr, data.data(), &bytes);
    if (status == ERROR_SUCCESS || status == ERROR_MORE_DATA) {
        size = bytes;
    }
    if (status != ERROR_SUCCESS) {
        return static_cast<std::uint32_t>(status);
    }
    std::wstring value(bytes / sizeof(wchar_t), L'\0');
    std::memcpy(value.data(), data.data(), value.size() * sizeof(wchar_t));
    text = value.substr(0, value.find(L'\0'));
    return 0;
}

std::uint32_t setRegistryText(RegistryKey key, const std::wstring& valueName, const std::wstring& text) {
    const auto bytes = static_cast<DWORD>((text.size() + 1) * sizeof(wchar_t));
    return static_cast<std::uint32_t>(RegSetValueExW(systemKey(key), valueName.c_str(), 0, REG_SZ,
                                                     reinterpret_cast<const BYTE*>(text.c_str()), bytes));
}

std::uint32_t setRegistryNumber(RegistryKey key, const std::wstring& valueName, std::uint32_t number) {
    BYTE data[sizeof(number)];
    std::memcpy(data, &number, sizeof(number));
    return static_cast<std::uint32_t>(
        RegSetValueExW(systemKey(key), valueName.c_str(), 0, REG_DWORD, data, sizeof(data)));
}

void closeRegistryKey(RegistryKey key) {
    if (key != RegistryKey::none) {
        RegCloseKey(systemKey(key));
    }
}

}  // namespace platform
