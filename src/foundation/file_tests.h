#pragma once

#include <string>

// What only looks at the disk. A leading `\\?\` is skipped, separators mix freely.
namespace zellauncher {

// True for files and directories alike.
bool fileExists(const std::wstring& path);
bool directoryExists(const std::wstring& path);
// True for a directory, and for a file with the ending .exe, .com, .bat or .cmd in any case: what
// the system's own stat calls executable.
bool isExecutableFile(const std::wstring& path);

}  // namespace zellauncher
