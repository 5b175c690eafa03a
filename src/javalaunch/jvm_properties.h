#pragma once

#include <string>

#include "javalaunch/jvm_root.h"
#include "properties/property_list.h"
#include "properties/vmarg_overrides.h"

namespace zellauncher {

// Loads jvm.properties of the JVM root into the properties of the run (fatal ZLNCH0096E), moves its
// `vmarg.` keys into the overrides, adds `java.home`, and puts the entries of `jvm.library.path` below
// it.
void loadJvmProperties(PropertyList& zelInstallArray, VmargOverrides& overrides, const JvmRoot& root,
                       const std::wstring& zelHome);

// The part of the JVM's path (forward slashes) before `/jvm/bin`, otherwise the default.
std::wstring deriveJavaHome(const std::wstring& vmPath, const std::wstring& defaultHome);

}  // namespace zellauncher
