#pragma once

#include <string>

// Questions about the disk that change nothing. A leading `\\?\` is ignored; separators may be mixed.
namespace zellauncher {

// True for files and directories.
bool fileExists(const std::wstring& path);
bool directoryExists(const std::wstring& path);

// True for a directory, and for a file whose name ends in .exe, .com, .bat or .cmd in any case: what
// the runtime's stat calls executable.
bool isExecutableFile(const std::wstring& path);

}  // namespace zellauncher
