#pragma once

#include <string>

#include "properties/arguments.h"
#include "properties/property_list.h"

// The identity under which the taskbar groups the launcher and the platform.
namespace zellauncher {

bool isWindows7OrLater();

// Works out appUserModelId, useAppUserModelId and preventPinning from the raw command line.
void resolveApplicationIdentity(const Arguments& arguments, const PropertyList& zelLauncherArray);

// Value of `config.<name>.appID` for `-config <name>`, else empty.
void findConfigAppId(std::wstring& appId, const Arguments& arguments, const PropertyList& zelLauncherArray);

// Gives this process the identity. No failure is reported.
void applyProcessAppId();

}  // namespace zellauncher
