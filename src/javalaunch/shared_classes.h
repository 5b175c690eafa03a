#pragma once

#include "properties/property_list.h"

namespace zellauncher {

// Empties the JVM's shared classes directory (`jvm.shareclasses.fullpath` of the install list) when
// the user's manifest version is not the installation's: classes of another version must not be
// shared. What resists is told in the log, and the start goes on.
void clearSharedClasses(const PropertyList& zelInstallArray, const PropertyList& zelLauncherArray);

}  // namespace zellauncher
