#pragma once

#include <cstdint>

// What the end of a supervised platform on a locked-down desktop means, by its exit code and, after 0, by
// the word in `.exitData`:
//
//   0 and LOGOFF     the user is logged off
//   0 and SHUTDOWN   the machine is shut down
//   0 and RESTART    the platform restarts itself; the launcher keeps watching
//   0 without a word the platform has failed and is started again
//   23, 24           the platform restarts itself; the launcher keeps watching
//   any other        the platform has failed and is started again
namespace zellauncher {

// Does what the exit code means. Returns when there is nothing left to supervise: the session is about to
// end, or there is no further platform. Each restart of a platform is a further level of calls.
void HandleTermination(std::uint32_t exitCode);

// Watches a platform that restarts itself: waits three seconds for it to appear, then waits for each
// process called "eclipse.exe" in turn and handles its end. Without a process list the launcher ends
// with 0.
void monitorPlatformProcess();

// Runs launchCommand again, supervised, unless another launcher has meanwhile started a platform that is
// alive (claimRerun). Implemented by launch/platform_execution.cpp, because a restart takes the steps of the
// first start: the one call from this folder up to launch/.
void rerunCommand();

}  // namespace zellauncher
