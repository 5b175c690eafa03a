#pragma once

#include <cstdint>
#include <optional>

namespace platform {

struct SystemVersion {
    std::uint32_t major = 0;
    std::uint32_t minor = 0;
};

// The version of the system (GetVersionExW).
std::optional<SystemVersion> systemVersion();

}  // namespace platform
