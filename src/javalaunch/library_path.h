#pragma once

#include <string>

#include "properties/property_list.h"

// The environment that the platform inherits.
namespace zellauncher {

// Sets PATH from the library path properties, and adds the pair `-Djava.library.path` to the list.
void applyLibraryPath(PropertyList& zelInstallArray);

// Carries out the `env.unset.` and then the `env.set.` properties.
void applyEnvironment(const PropertyList& zelInstallArray);

// 0 on success, or when the variable exists and `overwrite` is false. An empty value removes it.
int setEnvironmentValue(const std::wstring& name, const std::wstring& value, bool overwrite);
// 0 on success, 1 when the variable is not set.
int unsetEnvironmentValue(const std::wstring& name);

}  // namespace zellauncher
