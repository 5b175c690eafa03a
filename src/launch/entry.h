#pragma once

namespace zellauncher {

// A whole start of the launcher, from this process's command line on. Returns the exit status 0. Many paths
// end the process inside; every fatal message does, with -1.
int wmain();

}  // namespace zellauncher
