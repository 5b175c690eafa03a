#pragma once

#include <string>

#include "platform/process_wide.h"
#include "properties/arguments.h"
#include "properties/property_list.h"

// The identity under which the taskbar groups the launcher and the platform.
namespace zellauncher {

// The identity, whether this process and the child get it, and whether the child is started with
// pinning prevented. Set by resolveApplicationIdentity.
extern PROCESS_WIDE std::wstring appUserModelId;
extern PROCESS_WIDE bool useAppUserModelId;
extern PROCESS_WIDE bool preventPinning;

bool isWindows7OrLater();

// Works out the three variables from the raw command line and the role (isMainProcess).
void resolveApplicationIdentity(const Arguments& arguments, const PropertyList& zelLauncherArray);

// The value of `config.<name>.appID` for `-config <name>`, otherwise empty.
std::wstring findConfigAppId(const Arguments& arguments, const PropertyList& zelLauncherArray);

// Gives this process the identity. Failures are ignored.
void applyProcessAppId();

}  // namespace zellauncher
