#pragma once

#include "platform/console.h"

namespace zellauncher {

// The window of the console that this process was given, or none: the console gets a title that no
// other window has for a moment, is looked up by it, and gets its own title back.
platform::Window findConsoleWindow();

}  // namespace zellauncher
