#pragma once

#include <string>

namespace zellauncher {

// Hands the command of a daemon to the platform that runs. Not built yet: ends with a fatal line.
void handOffToPlatform(const std::wstring& command);

}  // namespace zellauncher
