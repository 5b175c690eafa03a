#pragma once

#include <string>

namespace zellauncher {

// True when the user belongs, directly or through another group, to the local Administrators group,
// whose name is asked for in the system's language. False as well when that cannot be answered.
bool isUserInAdminGroup(const std::wstring& userName);

}  // namespace zellauncher
