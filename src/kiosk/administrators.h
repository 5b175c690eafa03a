#pragma once

#include <string>

namespace zellauncher {

// True if the user is a member, directly or through another group, of the local Administrators group,
// whose name is in the system's language. False also if that cannot be found out.
bool isUserInAdminGroup(const std::wstring& userName);

}  // namespace zellauncher
