#pragma once

#include "explain/machine_setup.h"

namespace explain {

// Lets a platform run on the machine, as --platform says: the one whose process id is in the lock file of the
// workspace and whose pipe is in its pipe file. With Platform::running, what is missing of these is made up.
void prepareRunningPlatform(World& world, const StartOptions& options);

}  // namespace explain
