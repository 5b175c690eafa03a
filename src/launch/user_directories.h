#pragma once

#include <string>

namespace zellauncher {

// Creates a directory of the user if it is missing, and sets initialLaunch then. If that fails, the
// message, with `%ls` for the path, is fatal. Any separators.
void ensureUserDirectory(const std::wstring& path, const char* message);

}  // namespace zellauncher
