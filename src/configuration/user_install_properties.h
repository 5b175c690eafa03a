#pragma once

#include <string>

#include "properties/property_list.h"

// The user's own zelinstall.properties: made once from the installation's, then only read.
namespace zellauncher {

// Path of the user's file; made first when it does not exist (which sets initialLaunch). Fatal:
// ZLNCH0022E when the base file cannot be copied, ZLNCH0008E when a required key is missing.
std::wstring ensureUserInstallProperties(const std::wstring& configDirectory,
                                         const std::wstring& baseLocation,
                                         const PropertyList& zelLauncherArray);

// Copies the user file, which is a plain copy of the base file, to the temporary file without the
// lines of other operating systems, and appends the lines that the launcher knows. 0, or -1 when a
// file could not be opened. The paths may have any separators.
int writeUserInstallProperties(const std::wstring& userFile, const std::wstring& temporaryFile,
                               const PropertyList& zelLauncherArray);

// Appends the text as a value of the property dialect, plain ASCII, to `out`.
void escapeValue(const std::wstring& text, std::wstring& out);

// Appends `<key>=<value>`, both escaped, to `out`.
void escapeEntry(const std::wstring& key, const std::wstring& value, std::wstring& out);

}  // namespace zellauncher
