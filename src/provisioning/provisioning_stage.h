#pragma once

#include "properties/arguments.h"
#include "properties/property_list.h"

namespace zellauncher {

// Decides whether the platform's provisioning application must run before the platform does, and
// sets initialLaunch when the manifest version is new to the user. Returns when nothing is to be
// provisioned. Provisioning itself is not built yet: such a start ends with a fatal line.
void runProvisioningStage(const Arguments& effectiveArgs, const PropertyList& zelInstallArray,
                          const PropertyList& zelLauncherArray);

}  // namespace zellauncher
