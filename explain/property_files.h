#pragma once

#include <string>
#include <vector>

#include "explain/machine_setup.h"
#include "properties/property_list.h"

namespace explain {

using Entries = std::vector<zellauncher::PropertyEntry>;

// The entries of a property file on the machine, as the launcher reads them; none if it cannot be opened.
Entries readPropertyFile(World& world, const std::wstring& path);

// The same within a run of the launcher. A file that cannot be opened ends the run.
Entries loadEntries(const std::wstring& path);

}  // namespace explain
