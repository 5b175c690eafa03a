#include "platform/system_version.h"

#include "platform/windows/windows_api.h"

namespace platform {

std::optional<SystemVersion> systemVersion() {
    OSVERSIONINFOW version = {};
    version.dwOSVersionInfoSize = sizeof(version);
    static_assert(sizeof(version) == 276);
    if (GetVersionExW(&version) == 0) {
        return std::nullopt;
    }
    return SystemVersion{version.dwMajorVersion, version.dwMinorVersion};
}

}  // namespace platform
