#pragma once

#include <cstdint>

namespace zellauncher {

void sleepSeconds(std::uint32_t count);

}  // namespace zellauncher
