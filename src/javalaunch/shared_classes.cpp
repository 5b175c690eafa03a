#include "javalaunch/shared_classes.h"

#include <string>

#include "foundation/directory_removal.h"
#include "foundation/file_tests.h"
#include "foundation/log_channel.h"
#include "foundation/paths.h"

namespace zellauncher {

namespace {

bool isManifestKnown(const PropertyList& zelInstallArray, const PropertyList& zelLauncherArray) {
    const std::wstring* known = lookupProperty(L"provisioning.manifest.version", zelInstallArray);
    const std::wstring* shipped = lookupProperty(L"provisioning.manifest.version", zelLauncherArray);
    return known != nullptr && shipped != nullptr && *known == *shipped;
}

}  // namespace

void clearSharedClasses(const PropertyList& zelInstallArray, const PropertyList& zelLauncherArray) {
    if (isManifestKnown(zelInstallArray, zelLauncherArray)) {
        return;
    }
    const std::wstring* location = lookupProperty(L"jvm.shareclasses.fullpath", zelInstallArray);
    if (location == nullptr) {
        return;
    }
    std::wstring directory = *location;
    toBackslashes(directory);
    if (!fileExists(directory)) {
        return;
    }
    std::wstring errors;
    if (!removeDirectoryContents(directory, errors)) {
        logMessageF(
            "\nZLNCH0086I begin: Information collected while removing shared classes directory\n%ls\n"
            "ZLNCH0087I end: Unable to remove all files in the shared classes directory.",
            errors, false);
    }
}

}  // namespace zellauncher
