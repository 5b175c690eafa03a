#pragma once

#include <string>

#include "platform/process_wide.h"

namespace zellauncher {

// The directory of the extension jars, with a trailing backslash, and `*` after it if it exists. Empty
// until the entry sets it.
extern PROCESS_WIDE std::wstring extensionDirPattern;

// Appends the jars of a companion application, the `.jar` and `.zip` files in extensionDirPattern, to
// the command as one element, `-cp=<path>;<path>...`. At most 100 files and 2000 characters; the rest is
// left out. No failure stops a start. Removes the `*` from extensionDirPattern and turns its
// separators into forward slashes.
void scanExtensionJars();

}  // namespace zellauncher
