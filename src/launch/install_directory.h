#pragma once

#include <string>

#include "foundation/sourced_text.h"
#include "properties/arguments.h"

namespace zellauncher {

// The install directory: the launcher is in the directory `zel` directly below it. With backslashes,
// without a trailing one; a drive root is `C:`. Found through argument 0, otherwise through the running
// module. Fatal: ZLNCH0129E, ZLNCH0048E, ZLNCH0049E.
SourcedText locateInstallDir(const Arguments& arguments);

}  // namespace zellauncher
