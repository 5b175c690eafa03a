#pragma once

#include <string>

#include "properties/arguments.h"

namespace zellauncher {

// The install directory: the launcher stands in a directory `zel` directly below it. Backslashes,
// no trailing one, a drive root as `C:`. Found from word 0 of the command line, else from the
// running module. Fatal: ZLNCH0129E, ZLNCH0048E, ZLNCH0049E.
void locateInstallDir(std::wstring& installDirectory, const Arguments& arguments);

}  // namespace zellauncher
