#pragma once

#include <string>

#include "properties/property_list.h"

// The two files of a user's configuration area that are made from templates of the installation.
// A file that exists is never touched. Making one sets initialLaunch.
namespace zellauncher {

// config.ini, copied as it stands. Fatal ZLNCH0009E.
void seedConfigIni(const std::wstring& configDirectory, const std::wstring& baseLocation);

// org.eclipse.update\platform.xml, copied line by line with the identity of the JVM feature filled
// in. 0, or -1 when a file could not be opened. Fatal ZLNCH0039E for the directory.
int seedPlatformXml(const std::wstring& configDirectory, const std::wstring& baseLocation,
                    const PropertyList& zelLauncherArray, bool externalJvm);

}  // namespace zellauncher
