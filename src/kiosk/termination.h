#pragma once

#include <cstdint>

namespace zellauncher {

// Decides what the end of a supervised platform means. Not built yet: ends with a fatal line.
void HandleTermination(std::uint32_t exitCode);

}  // namespace zellauncher
