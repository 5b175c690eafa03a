#pragma once

#include <cstdint>

#include "platform/process_wide.h"

namespace zellauncher {

// The process id that this launcher recorded last. No other process gets it meanwhile, because the launcher
// keeps the handle of its child.
extern PROCESS_WIDE std::uint32_t recordedProcessId;

// On a main process, writes the child's process id to `.zel.main` and the lock file; of the latter, only a
// failed write is logged, not a failed flush. Then waits for its pipe file; false if it was not seen
// (waitForPipeFile).
bool recordPlatformProcess(std::uint32_t processId);

// Rewrites `.zel.main`. A failure is only logged.
void writeMainRecord(std::uint32_t processId);

}  // namespace zellauncher
