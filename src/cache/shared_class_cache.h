#pragma once

#include <string>

#include "properties/property_list.h"
#include "properties/vmarg_overrides.h"

// The JVM's shared-class cache, which is deleted when it may be damaged or out of date.
namespace zellauncher {

enum class FormerEnd { clean, unclean };

// Before a start of the platform: if the former platform ended uncleanly, the overrides ask for
// maintenance and the cache's control directory lies in the workspace, deletes the cache files. Then
// records the start (recordPlatformStart, with its fatal failures). True if files were looked for and
// nothing failed. Fatal ZLNCH0140E for a relative control directory.
bool cacheMaintenance(const std::wstring& dataDirectory, const VmargOverrides& overrides,
                      FormerEnd formerEnd);

// Empties the shared classes directory (`jvm.shareclasses.fullpath` of zelInstallArray) if the user's
// manifest version differs from the install's, because classes of another version must not be shared.
// What cannot be removed is logged.
void clearSharedClasses(const PropertyList& zelInstallArray, const PropertyList& zelLauncherArray);

}  // namespace zellauncher
