#pragma once

#include <string>

namespace zellauncher {

// True when a line of the base zelinstall.properties belongs to another operating system (its key
// ends in `.linux...` or `.macosx...`). A kept line loses leading blanks, and the qualifier
// `.win32...` of its key.
bool isForeignPlatformLine(std::wstring& line);

// True when the line ends in an odd number of backslashes and so goes on in the next.
bool endsInContinuation(const std::wstring& line);

}  // namespace zellauncher
