#pragma once

#include <string>

#include "properties/arguments.h"
#include "properties/property_list.h"

// Where things are. Pure functions of arguments, properties, environment and kind: asked again,
// they answer the same. Nothing is created here. `arguments` are the effective ones.
namespace zellauncher {

// The workspace: by kind, then `-data`, then `zel.data`, then `<home>/Mivel/ZEL/<id>/<user>`. Mixed
// separators, no trailing one. Fatal: ZLNCH0099E, ZLNCH0035E, ZLNCH0037E, ZLNCH0082E, and those of
// resolveWorkspacePath.
void resolveDataDirectory(std::wstring& dataDirectory, const PropertyList& zelLauncherArray,
                          const Arguments& arguments, const std::wstring& zelHome);

// The user's configuration directory, inside the workspace but for the service kinds.
void resolveConfigDirectory(std::wstring& configDirectory, const PropertyList& zelLauncherArray,
                            const Arguments& arguments, const std::wstring& zelHome);

// HOMEDRIVE and HOMEPATH, else USERPROFILE; fatal ZLNCH0082E without either.
void userHomeDirectory(std::wstring& home);

// `eclipse.name`, else `eclipse.exe`. A file name. An empty value stands as it is.
void platformProgramName(std::wstring& exeName, const PropertyList& list);

// A file of the installation: in `<base>\config\<sub-directory of the kind>\` when it exists there,
// else in `<base>\`, existing or not. Backslashes.
void baseFilePath(std::wstring& path, const std::wstring& baseDirectory, const std::wstring& fileName);

// Full path of the launcher's own program, from word 0 or from the system; fatal ZLNCH0047E.
void locateProgram(std::wstring& path, const std::wstring& program);

}  // namespace zellauncher
