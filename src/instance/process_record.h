#pragma once

#include <cstdint>

namespace zellauncher {

// Publishes the number of the child that was just started, in `.zel.main` and in the lock file, and
// waits until it has published its `.pipe`, at most 15 seconds.
void recordPlatformProcess(std::uint32_t processId);

// Rewrites `.zel.main`. A failure is a line in the log and no more.
void writeMainRecord(std::uint32_t processId);

}  // namespace zellauncher
