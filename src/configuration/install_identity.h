#pragma once

#include <string>

#include "properties/property_list.h"

namespace zellauncher {

// The identity of the install, `zel.install.id`, from the list of zellauncher.properties. Without
// the key a kind-8 install makes one and appends it to the file (`propertiesPath`) and the list; for
// any other kind that is the fatal ZLNCH0016E. Fatal as well: ZLNCH0017E, ZLNCH0018E.
std::wstring resolveInstallId(const std::wstring& propertiesPath, PropertyList& zelLauncherArray);

// True when the user's zelinstall.properties in `configDirectory` records another identity. False
// when there is no such file, no such key, or no value.
bool installIdChanged(const std::wstring& installId, const std::wstring& configDirectory);

}  // namespace zellauncher
