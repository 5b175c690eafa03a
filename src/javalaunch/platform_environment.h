#pragma once

#include <string>

#include "properties/property_list.h"

// The environment variables that the platform inherits.
namespace zellauncher {

// Sets PATH from the library path properties, and adds `-Djava.library.path` to the list.
void applyLibraryPath(PropertyList& zelInstallArray);

// Removes the variables of the `env.unset.` properties, then sets those of the `env.set.` properties.
void applyEnvironment(const PropertyList& zelInstallArray);

enum class ExistingValue { isKept, isReplaced };

// 0 on success and if an existing value is kept, -1 on failure. An empty value removes the variable.
int setEnvironmentValue(const std::wstring& name, const std::wstring& value, ExistingValue existingValue);

// 0 on success, 1 if the variable is not set, -1 on failure.
int unsetEnvironmentValue(const std::wstring& name);

}  // namespace zellauncher
