#pragma once

#include "properties/property_list.h"

namespace zellauncher {

// True if the install asks for a first run (`config.initial.<n>`, kinds 3, 6 and 8) and the user's
// properties do not say yet that it has been done. Fatal: ZLNCH0114E, ZLNCH0115E.
bool readInitialConfiguration(const PropertyList& zelLauncherArray, const PropertyList& zelInstallArray);

}  // namespace zellauncher
