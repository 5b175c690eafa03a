#pragma once

#include <cstdint>

namespace zellauncher {

// Waits so many seconds.
void sleepSeconds(std::uint32_t count);

}  // namespace zellauncher
