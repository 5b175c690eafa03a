#pragma once

#include <string>

#include "properties/property_list.h"

namespace zellauncher {

// The identity of the install, `zel.install.id` of zellauncher.properties. If the key is missing, a
// kind-8 install creates an identity and appends it to the file (`propertiesPath`) and the list. Fatal:
// ZLNCH0016E without the key for any other kind, ZLNCH0017E, ZLNCH0018E.
SourcedText resolveInstallId(const std::wstring& propertiesPath, PropertyList& zelLauncherArray);

// True if the user's zelinstall.properties in `configDirectory` has another identity. False if the file,
// the key or its value is missing.
bool installIdChanged(const std::wstring& installId, const std::wstring& configDirectory);

}  // namespace zellauncher
