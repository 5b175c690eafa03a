#pragma once

#include <string>

// Moving a user's configuration away so that it is made anew. Not built yet: both end with a fatal
// line, before anything of the user's is touched.
namespace zellauncher {

// After a change of the install identity.
void backupConfiguration(const std::wstring& dataDirectory, const std::wstring& configDirectory);

// On request, or when the user's properties are damaged beyond repair.
void resetConfiguration(const std::wstring& dataDirectory, const std::wstring& configDirectory,
                        const std::wstring& baseLocation);

}  // namespace zellauncher
