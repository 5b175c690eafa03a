#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace platform {

enum class RegistryRoot { localMachine, currentUser };
enum class RegistryKey : std::uintptr_t { none = 0 };

inline constexpr std::uint32_t registryQueryValue = 0x1;
inline constexpr std::uint32_t registrySetValue = 0x2;
inline constexpr std::uint32_t registryAllAccess = 0xF003F;

// Opens a key (RegOpenKeyExW).
RegistryKey openRegistryKey(RegistryRoot root, const std::wstring& path, std::uint32_t access);

// Reads a value into a buffer of `size` bytes, which may be 0 (RegQueryValueExW). The text ends at its
// first NUL; an odd last byte is a character of its own. `size` becomes the size of the value in bytes,
// also when the buffer was too small (errorMoreData).
std::optional<std::wstring> queryRegistryText(RegistryKey key, const std::wstring& valueName,
                                              std::uint32_t& size);

// Writes a value, creating it if necessary (RegSetValueExW): a text with its NUL as REG_SZ, a number
// as REG_DWORD.
bool setRegistryText(RegistryKey key, const std::wstring& valueName, const std::wstring& text);
bool setRegistryNumber(RegistryKey key, const std::wstring& valueName, std::uint32_t number);

// Closes the key; `none` is ignored.
void closeRegistryKey(RegistryKey key);

}  // namespace platform
