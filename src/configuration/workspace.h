#pragma once

#include <string>

#include "properties/arguments.h"
#include "properties/property_list.h"

// Where the workspace and the configuration directory are. Both follow from arguments, properties,
// environment and kind of the install alone; nothing is created. `arguments` are the effective ones.
namespace zellauncher {

// The workspace, without a trailing separator and with mixed separators. A directory in the install
// for the service kinds; otherwise `-data`, then `zel.data`, then `<home>/Mivel/ZEL/<id>/<user>`.
// Fatal: ZLNCH0099E, ZLNCH0035E, ZLNCH0037E, ZLNCH0082E and those of resolveWorkspacePath.
SourcedText resolveDataDirectory(const PropertyList& zelLauncherArray, const Arguments& arguments,
                                 const std::wstring& zelHome);

// The user's configuration directory: in the workspace, or in the install for the service kinds.
// Fatal as resolveDataDirectory.
SourcedText resolveConfigDirectory(const PropertyList& zelLauncherArray, const Arguments& arguments,
                                   const std::wstring& zelHome);

// HOMEDRIVE and HOMEPATH, otherwise USERPROFILE; fatal ZLNCH0082E without either.
std::wstring userHomeDirectory();

// The full path of a workspace named on the command line. An absolute path stays as it is; an empty
// one is the current directory. Fatal: ZLNCH0301E if it begins with an untranslated `${`, ZLNCH0302E
// if its full path is longer than 259 characters.
std::wstring resolveWorkspacePath(const std::wstring& path);

}  // namespace zellauncher
