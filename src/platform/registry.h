#pragma once

#include <cstdint>
#include <string>

// The system's registry.
namespace platform {

enum class RegistryRoot { localMachine, currentUser };
enum class RegistryKey : std::uintptr_t { none = 0 };

inline constexpr std::uint32_t registryQueryValue = 0x1;
inline constexpr std::uint32_t registrySetValue = 0x2;
inline constexpr std::uint32_t registryAllAccess = 0xF003F;

// Opens a key (RegOpenKeyExW). 0 on success, else the system's code, with `key` none.
std::uint32_t openRegistryKey(RegistryRoot root, const std::wstring& path, std::uint32_t access,
                              RegistryKey& key);

// Reads a value into a buffer of `size` bytes (RegQueryValueExW) and returns 0 with `text` up to its
// first NUL and `size` the bytes that the value takes; else the system's code: 2 for a missing
// value, 234 when the buffer is too small, with `size` the bytes that are needed.
std::uint32_t queryRegistryText(RegistryKey key, const std::wstring& valueName, std::uint32_t& size,
                                std::wstring& text);

// Writes a value as a text with its NUL (RegSetValueExW, REG_SZ) or as a 32-bit number (REG_DWORD); it is
// made when it is missing. 0 on success, else the system's code.
std::uint32_t setRegistryText(RegistryKey key, const std::wstring& valueName, const std::wstring& text);
std::uint32_t setRegistryNumber(RegistryKey key, const std::wstring& valueName, std::uint32_t number);

// Gives the key back; `none` is left alone.
void closeRegistryKey(RegistryKey key);

}  // namespace platform
