#pragma once

#include <cstdint>

namespace launchertest {

// Calls `start`, which tries to start a process and returns the error code of that, 0 for none. The last code
// is the result. Wine sometimes fails with an internal error on a busy machine, before the process has begun;
// then `start` is called again.
template <typename Start>
std::uint32_t startProcess(Start start) {
    constexpr std::uint32_t internalError = 1359;
    constexpr int mostAttempts = 5;
    std::uint32_t error = start();
    for (int attempt = 1; error == internalError && attempt < mostAttempts; ++attempt) {
        error = start();
    }
    return error;
}

}  // namespace launchertest
