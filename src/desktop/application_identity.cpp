#include "desktop/application_identity.h"

#include <cstddef>
#include <cstdint>

#include "configuration/locations.h"
#include "launch/launch_state.h"
#include "platform/desktop.h"

namespace zellauncher {

bool isWindows7OrLater() {
    std::uint32_t major = 0;
    std::uint32_t minor = 0;
    return platform::systemVersion(major, minor) && (major > 6 || (major == 6 && minor != 0));
}

void resolveApplicationIdentity(const Arguments& arguments, const PropertyList& zelLauncherArray) {
    std::wstring identity;
    const bool isSupported = isWindows7OrLater();
    bool preventsPinning = isSupported;
    if (isSupported) {
        findConfigAppId(identity, arguments, zelLauncherArray);
        if (identity.empty()) {
            std::wstring exeName;
            platformProgramName(exeName, zelLauncherArray);
            identity = L"mivel.tarsin.client." + exeName;
        } else if (isMainProcess) {
            preventsPinning = false;  // an application with an identity of its own may be pinned
        }
    }
    appUserModelId = identity;
    useAppUserModelId = isSupported;
    preventPinning = preventsPinning;
}

void findConfigAppId(std::wstring& appId, const Arguments& arguments, const PropertyList& zelLauncherArray) {
    const int config = findArgumentIndex(L"-config", arguments);
    const std::size_t name = static_cast<std::size_t>(config) + 1;
    if (config < 0 || name >= arguments.size()) {
        return;
    }
    if (const std::wstring* value =
            lookupProperty(L"config." + arguments[name] + L".appID", zelLauncherArray)) {
        appId = *value;
    }
}

void applyProcessAppId() {
    if (!isWindows7OrLater()) {
        return;
    }
    const platform::Library library = platform::loadLibrary(L"shell32.dll");
    if (library == platform::Library::none) {
        return;
    }
    const platform::TextFunction function =
        platform::textFunction(library, "SetCurrentProcessExplicitAppUserModelID");
    if (function != platform::TextFunction::none) {
        platform::callTextFunction(function, appUserModelId);
    }
    platform::freeLibrary(library);
}

}  // namespace zellauncher
