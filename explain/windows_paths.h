#pragma once

#include <optional>
#include <string>

namespace simulation {
class Machine;
}

// Paths of the simulated machine as text.
namespace explain {

#ifdef _WIN32
inline constexpr bool ownMachineIsWindows = true;
#else
inline constexpr bool ownMachineIsWindows = false;
#endif

// The path with backslashes and without a trailing separator or `\\?\`, if it begins with a drive and a
// separator and a file can have each of its names (`.` and `..` are none). A drive's root keeps its
// separator.
std::optional<std::wstring> fullDrivePath(std::wstring path);

// The same for a path as a program gives it to Windows, which resolves `.` and `..` except after `\\?\`.
std::optional<std::wstring> resolvedDrivePath(const simulation::Machine& machine, const std::wstring& path);

// An element of a command line without its double quotes, which no path has.
std::wstring withoutQuotes(std::wstring element);

// The path of the .ini file beside a program, from which it reads its options.
std::wstring iniBeside(const std::wstring& program);

// True if the path begins with a drive and a separator.
bool beginsWithDrive(const std::wstring& path);

// Without regard to case and separators.
bool isSamePath(const std::wstring& left, const std::wstring& right);
// True if the path is the directory itself or below it.
bool isWithin(const std::wstring& path, const std::wstring& directory);

// What follows the directory and a separator in the path, which is within it.
std::wstring relativeTo(const std::wstring& path, const std::wstring& directory);

// The path of a real directory on this computer as Windows names it. Only called on Windows.
std::wstring ownPath(const std::string& directory);

}  // namespace explain
