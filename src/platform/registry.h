#pragma once

#include <cstdint>
#include <string>

// The system's registry.
namespace platform {

enum class RegistryRoot { localMachine, currentUser };
enum class RegistryKey : std::uintptr_t { none = 0 };

inline constexpr std::uint32_t registryQueryValue = 0x1;

// Opens a key (RegOpenKeyExW). 0 on success, else the system's code, with `key` none.
std::uint32_t openRegistryKey(RegistryRoot root, const std::wstring& path, std::uint32_t access,
                              RegistryKey& key);

// Reads a value into a buffer of `size` bytes (RegQueryValueExW) and returns 0 with `text` up to its
// first NUL and `size` the bytes that the value takes; else the system's code: 2 for a missing
// value, 234 when the buffer is too small, with `size` the bytes that are needed.
std::uint32_t queryRegistryText(RegistryKey key, const std::wstring& valueName, std::uint32_t& size,
                                std::wstring& text);

// Gives the key back; `none` is left alone.
void closeRegistryKey(RegistryKey key);

}  // namespace platform
