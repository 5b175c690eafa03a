#pragma once

#include <map>
#include <memory>
#include <string>
#include <vector>

#include "explain/launcher_run.h"

namespace explain {

// From the first line of an entry in the user's zelinstall.properties to the line of the template, or of
// zellauncher.properties, that it was made from.
using Origins = std::map<std::size_t, zellauncher::Source>;

// The origins of the user's file after the run. If the run did not make it, the launcher makes it anew from
// the template, on a machine of its own, and an entry that is still the same has that entry's origin.
Origins originsOfUserFile(World& world, const StartOptions& options, const LauncherRun& run);

}  // namespace explain
