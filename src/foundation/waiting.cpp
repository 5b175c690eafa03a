#include "foundation/waiting.h"

#include "platform/clock.h"

namespace zellauncher {

void sleepSeconds(std::uint32_t count) {
    platform::sleepMilliseconds(count * 1000U);
}

}  // namespace zellauncher
