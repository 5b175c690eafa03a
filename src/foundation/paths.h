#pragma once

#include <string>
#include <string_view>

// Paths as text. Separators may be `\` or `/`, mixed.
namespace zellauncher {

inline constexpr std::wstring_view longPathPrefix = L"\\\\?\\";

void toBackslashes(std::wstring& path);
void toForwardSlashes(std::wstring& path);
std::wstring withBackslashes(std::wstring path);
std::wstring withForwardSlashes(std::wstring path);

// The normalised `\\?\` form of an absolute drive path, with or without the prefix, which the file
// system accepts at any length. Removes double separators and resolves `.` and `..`, the latter by a
// rule that can drop a component after the `..`. A trailing separator stays. A relative, UNC or empty
// path is fatal (ZLNCH0140E).
std::wstring toLongPath(const std::wstring& path);

}  // namespace zellauncher
