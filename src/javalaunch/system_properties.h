#pragma once

#include <string>

#include "properties/arguments.h"
#include "properties/property_list.h"

// The JVM's `-D` and `-X` elements and the class paths.
namespace zellauncher {

// `<name>="<value>"` on a main process, without quotes on a daemon.
std::wstring formatSystemProperty(const std::wstring& name, const std::wstring& value);

// Fatal: ZLNCH0036E, ZLNCH0025E.
void appendSystemProperties(const PropertyList& zelInstallArray, const PropertyList& zelLauncherArray,
                            const Arguments& arguments, const std::wstring& zelHome);
void appendBootClassPath(const PropertyList& zelInstallArray);
void appendClassPath(const PropertyList& zelInstallArray);

}  // namespace zellauncher
