#include "desktop/application_identity.h"

#include <optional>

#include "configuration/install_files.h"
#include "instance/platform_lock.h"
#include "platform/libraries.h"
#include "platform/system_version.h"

namespace zellauncher {

PROCESS_WIDE std::wstring appUserModelId;
PROCESS_WIDE bool useAppUserModelId = false;
PROCESS_WIDE bool preventPinning = false;

bool isWindows7OrLater() {
    const std::optional<platform::SystemVersion> version = platform::systemVersion();
    return version && (version->major > 6 || (version->major == 6 && version->minor != 0));
}

void resolveApplicationIdentity(const Arguments& arguments, const PropertyList& zelLauncherArray) {
    useAppUserModelId = isWindows7OrLater();
    preventPinning = useAppUserModelId;
    appUserModelId.clear();
    if (!useAppUserModelId) {
        return;
    }
    appUserModelId = findConfigAppId(arguments, zelLauncherArray);
    if (appUserModelId.empty()) {
        appUserModelId = L"mivel.tarsin.client." + platformProgramName(zelLauncherArray);
    } else if (isMainProcess) {
        preventPinning = false;  // an application with its own identity may be pinned
    }
}

std::wstring findConfigAppId(const Arguments& arguments, const PropertyList& zelLauncherArray) {
    const std::wstring* name = argumentAfter(L"-config", arguments);
    if (name == nullptr) {
        return {};
    }
    const std::wstring* value = lookupProperty(L"config." + *name + L".appID", zelLauncherArray);
    return value != nullptr ? *value : std::wstring();
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
