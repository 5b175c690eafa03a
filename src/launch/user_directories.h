#pragma once

#include <string>

namespace zellauncher {

// Makes a directory of the user's when it is missing, which makes this start an initial launch.
// When it is still missing then, the message, with `%ls` for the path, is fatal. Any separators.
void ensureUserDirectory(const std::wstring& path, const char* message);

}  // namespace zellauncher
