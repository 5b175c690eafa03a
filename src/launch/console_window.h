#pragma once

#include "platform/console.h"

namespace zellauncher {

// The console window of this process, or none. Gives the console a unique title for a moment and looks for
// the window with that title.
platform::Window findConsoleWindow();

}  // namespace zellauncher
