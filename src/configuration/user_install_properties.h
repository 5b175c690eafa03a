#pragma once

#include <string>

#include "properties/property_list.h"

// The user's zelinstall.properties, created once from the template of the install.
namespace zellauncher {

// Path of the user's file, which is created if it is missing (and sets initialLaunch). Fatal: ZLNCH0022E
// if the template cannot be copied, ZLNCH0008E if a required key is missing.
std::wstring ensureUserInstallProperties(const std::wstring& configDirectory,
                                         const std::wstring& baseLocation,
                                         const PropertyList& zelLauncherArray);

// Copies the user's file, a plain copy of the template, to the temporary file without the lines of other
// operating systems, and appends the lines that the launcher adds. Returns 0, or -1 if a file could not
// be opened. Any separators.
int writeUserInstallProperties(const std::wstring& userFile, const std::wstring& temporaryFile,
                               const PropertyList& zelLauncherArray);

// The text as a value of the property dialect, in plain ASCII.
std::wstring escapeValue(const std::wstring& text);

// `<key>=<value>`, both escaped.
std::wstring escapeEntry(const std::wstring& key, const std::wstring& value);

}  // namespace zellauncher
