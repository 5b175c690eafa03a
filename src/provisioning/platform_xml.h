#pragma once

#include <string>

#include "properties/property_list.h"

namespace zellauncher {

// Creates the user's org.eclipse.update\platform.xml if it is missing: the install's template, line by
// line, with the identity of the JVM feature filled in. Does nothing for kind 8 or, apart from
// creating the directory, if `update.policy.managed` is `false`. Sets initialLaunch. Returns 0, or -1
// if a file could not be opened. Fatal ZLNCH0039E for the directory.
int seedPlatformXml(const std::wstring& configDirectory, const std::wstring& baseLocation,
                    const PropertyList& zelLauncherArray, bool externalJvm);

}  // namespace zellauncher
