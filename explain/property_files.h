#pragma once

#include <string>

#include "explain/machine_setup.h"
#include "properties/property_list.h"

namespace explain {

// The entries of a property file on the machine, as the launcher reads them; none if it cannot be opened.
zellauncher::PropertyList readPropertyFile(World& world, const std::wstring& path);

}  // namespace explain
