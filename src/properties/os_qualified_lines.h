#pragma once

#include <string>

namespace zellauncher {

// True if a line of the template zelinstall.properties is for another operating system, because the last
// part of its key begins with `linux` or `macosx`. Removes the line's leading blanks and, from a line
// that stays, the last part of the key if it begins with `win32`.
bool isForeignPlatformLine(std::wstring& line);

// True if the line ends in an odd number of backslashes, so that the next line continues it.
bool endsInContinuation(const std::wstring& line);

}  // namespace zellauncher
