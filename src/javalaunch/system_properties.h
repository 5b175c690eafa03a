#pragma once

#include <string>

#include "properties/arguments.h"
#include "properties/property_list.h"

// The JVM's system properties (`-D`) in the command.
namespace zellauncher {

// `<name>="<value>"` on a main process, without quotes on a daemon.
std::wstring formatSystemProperty(const std::wstring& name, const std::wstring& value);

// Appends the launcher's own system properties and every `-D` key of zelInstallArray. Fatal: ZLNCH0036E,
// ZLNCH0025E.
void appendSystemProperties(const PropertyList& zelInstallArray, const PropertyList& zelLauncherArray,
                            const Arguments& arguments, const SourcedText& zelHome);

}  // namespace zellauncher
