#pragma once

#include <string>

namespace zellauncher {

// Creates the user's config.ini if it is missing: an exact copy of the install's template. Sets
// initialLaunch. Fatal ZLNCH0009E if it cannot be copied.
void seedConfigIni(const std::wstring& configDirectory, const std::wstring& baseLocation);

}  // namespace zellauncher
