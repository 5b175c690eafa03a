#pragma once

#include "properties/arguments.h"

namespace zellauncher {

// The driver of a normal start: from the raw command line to the finished launchCommand. Makes,
// seeds and repairs what the user lacks, takes the platform lock and keeps it, and starts nothing
// itself. Returns only when the command is complete; every failure ends the process.
void launchSequence(const Arguments& arguments);

}  // namespace zellauncher
