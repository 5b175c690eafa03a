#pragma once

#include "launch/launch_context.h"

namespace zellauncher {

// If the install asks for a first run that this user has not done yet, replaces the effective arguments by
// those of the configuration `initial` and the few options of the user that are kept on a first run
// (launcher_options).
void applyInitialConfiguration(LaunchContext& context);

}  // namespace zellauncher
