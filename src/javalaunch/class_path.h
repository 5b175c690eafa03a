#pragma once

#include "properties/property_list.h"

// The JVM's boot class path and class path in the command.
namespace zellauncher {

// Appends the `-X` entries of the list, then `-Xbootclasspath/p:` and `-Xbootclasspath/a:` from
// `Xbootclasspath.prepend` and `Xbootclasspath.append`.
void appendBootClassPath(const PropertyList& zelInstallArray);

// Appends `-cp` and the value of `cp`; a multiuser service gets its startup.jar instead.
void appendClassPath(const PropertyList& zelInstallArray);

}  // namespace zellauncher
