#pragma once

#include <cstdint>

// The locked-down desktop: what the end of a supervised platform means. The platform tells it through its
// exit code and, behind 0, through one word in the file `.exitData` of the user's home path.
//
//   0 and LOGOFF      the user is logged off
//   0 and SHUTDOWN    the machine is shut down
//   0 and RESTART     the platform restarts by itself, and the launcher goes on watching
//   0 without a word  an accident: the platform is started again
//   23, 24            the platform restarts by itself, and the launcher goes on watching
//   anything else     an accident: the platform is started again
namespace zellauncher {

// Settles where `.exitData` lies, from HOMEPATH. Called once, at the start of the process.
void settleExitDataPath();

// Carries out what this exit code means. Returns when there is nothing left to supervise: the session is
// about to end, or no further platform is found. Each restart of a platform is a further level of calls.
void HandleTermination(std::uint32_t exitCode);

// Watches a platform that restarted by itself: waits three seconds for it to appear, then watches every
// process called "eclipse.exe" to its end, one after the other, and handles that end. Without a list of
// processes the launcher ends with 0.
void monitorPlatformProcess();

// Whether `.exitData` can be opened for reading, and its removal. Both append `\.exitData` to one text
// that nothing shortens again: the first question of a process finds the file, a removal or a second
// question looks for it below itself and finds none. So `.exitData` stays on the disk, and only the first
// end with 0 in a launcher's life is told by it. Platforms rely on that.
bool exitDataExists();
void removeExitData();

}  // namespace zellauncher
