#pragma once

#include "properties/arguments.h"

namespace zellauncher {

// A normal start up to the finished launchCommand: creates, seeds and repairs the user's files, takes the
// lock of the workspace and keeps it. Does not start the platform, but may run provisioning, which ends
// the process. Every failure ends the process.
void launchSequence(const Arguments& arguments);

}  // namespace zellauncher
