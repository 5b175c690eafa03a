#pragma once

namespace zellauncher {

// A whole start of the launcher, from this process's own command line to its last fork. Returns the
// exit status of the normal end, 0. Many roads end the process within: every fatal message does,
// with -1.
int wmain();

}  // namespace zellauncher
