#pragma once

#include <string>

// Moving a user's configuration away so that the seeding makes it anew. The files `registry` and
// `bookmarks.xml` of its update area survive, by way of `.old` copies in the workspace; one backup of
// the configuration directory, its name followed by `bak`, stays. Paths may have any separators.
// Nothing returns a result: a step succeeds or ends the process (transferPath's messages among them).
namespace zellauncher {

// After a change of the install identity: keeps a copy of platform.xml as
// `<dataDirectory>\platform.xml.old` as well. Fatal ZLNCH0044E.
void backupConfiguration(const std::wstring& dataDirectory, const std::wstring& configDirectory);

// On request, or when the user's properties are damaged beyond repair: removes the configured plug-in
// directories of the workspace as well. Fatal ZLNCH0045E and those of removeResetDirectories.
void resetConfiguration(const std::wstring& dataDirectory, const std::wstring& configDirectory,
                        const std::wstring& baseLocation);

// Removes the directories below `<dataDirectory>\.metadata\.plugins` that the `resetDir.` keys of the
// user's zelinstall.properties (else the installation's) name. Fatal ZLNCH0106E without such a file,
// and ZLNCH0107E with the whole list of what resisted.
void removeResetDirectories(const std::wstring& dataDirectory, const std::wstring& configDirectory,
                            const std::wstring& baseLocation);

}  // namespace zellauncher
