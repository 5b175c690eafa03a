#pragma once

#include "launch/launch_context.h"

namespace zellauncher {

// When the install asks for a first run of its own that this user has not done yet, the effective
// arguments become those of the configuration `initial`: of the user's command line only the
// workspace (`-data`) and the diagnostic options (`-debug`, `-console`, `-noExit`) are kept.
void applyInitialConfiguration(LaunchContext& context);

}  // namespace zellauncher
