#pragma once

#include <string>

// Moving a user's configuration away, so that it is seeded again. `registry` and `bookmarks.xml` of its
// update directory survive through `.old` copies in the workspace. One backup of the configuration
// directory stays, with `bak` after its name. Any separators. Every failure is fatal, also those of
// transferPath.
namespace zellauncher {

// For a changed install identity. Also keeps a copy of platform.xml as `<dataDirectory>\platform.xml.old`.
// Fatal ZLNCH0044E.
void backupConfiguration(const std::wstring& dataDirectory, const std::wstring& configDirectory);

// For `-resetconfig`, and for user properties that cannot be repaired. Also removes the configured plug-in
// directories of the workspace. Fatal ZLNCH0045E and those of removeResetDirectories.
void resetConfiguration(const std::wstring& dataDirectory, const std::wstring& configDirectory,
                        const std::wstring& baseLocation);

// Removes the directories below `<dataDirectory>\.metadata\.plugins` that the `resetDir.` keys of the
// user's zelinstall.properties, otherwise of the template, name. Fatal: ZLNCH0106E without such a file,
// ZLNCH0107E with a list of everything that could not be removed.
void removeResetDirectories(const std::wstring& dataDirectory, const std::wstring& configDirectory,
                            const std::wstring& baseLocation);

}  // namespace zellauncher
