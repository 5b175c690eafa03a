#include "provisioning/backup_and_reset.h"

#include "configuration/install_files.h"
#include "foundation/directory_removal.h"
#include "foundation/file_operations.h"
#include "foundation/file_queries.h"
#include "foundation/file_transfer.h"
#include "foundation/log_channel.h"
#include "foundation/paths.h"
#include "foundation/user_files.h"
#include "properties/property_list.h"
#include "properties/property_reader.h"

namespace zellauncher {

namespace {

std::wstring updateDirectoryOf(const std::wstring& configDirectory) {
    return withBackslashes(configDirectory + L"\\" + updateDirectoryName);
}

void copyOut(const std::wstring& dataDirectory, const std::wstring& configDirectory,
             const std::wstring& name) {
    transferPath(dataDirectory, name + L".old", updateDirectoryOf(configDirectory), name, Presence::optional,
                 Transfer::copy);
}

void moveBack(const std::wstring& dataDirectory, const std::wstring& configDirectory,
              const std::wstring& name) {
    transferPath(updateDirectoryOf(configDirectory), name, dataDirectory, name + L".old", Presence::optional,
                 Transfer::move);
}

void moveConfigurationAside(const std::wstring& configDirectory) {
    moveDirectoryReplacing(withBackslashes(configDirectory) + L"bak", configDirectory, Presence::required);
}

void makeUpdateDirectory(const std::wstring& configDirectory, const char* message) {
    const std::wstring directory = updateDirectoryOf(configDirectory);
    if (!createDirectories(directory)) {
        logFatalF(message, directory);
    }
}

// The user's file, otherwise the template of the install.
std::wstring resetPropertiesPath(const std::wstring& configDirectory, const std::wstring& baseLocation) {
    std::wstring path = withBackslashes(configDirectory + L"\\" + installPropertiesName);
    if (!fileExists(path)) {
        path = baseFilePath(baseLocation, installPropertiesName);
    }
    if (!fileExists(path)) {
        logFatalF("ZLNCH0106E: Unable to locate %ls file.", path);
    }
    return path;
}

void removeResetDirectory(const std::wstring& directory) {
    if (!fileExists(directory)) {
        return;
    }
    std::wstring errors;
    if (!removeDirectory(directory, errors)) {
        logFatalF(
            "\nZLNCH0107E begin: Error removing metadata plugin directory\n%ls\n"
            "ZLNCH0108E end: Unable to remove all files in the metadata plugin directory. Please correct the "
            "problems listed above",
            errors);
    }
}

}  // namespace

void backupConfiguration(const std::wstring& dataDirectory, const std::wstring& configDirectory) {
    copyOut(dataDirectory, configDirectory, platformXmlName);
    copyOut(dataDirectory, configDirectory, registryFileName);
    copyOut(dataDirectory, configDirectory, bookmarksName);
    moveConfigurationAside(configDirectory);
    makeUpdateDirectory(configDirectory, "ZLNCH0044E: Unable to create %ls directory.");
    moveBack(dataDirectory, configDirectory, registryFileName);
    moveBack(dataDirectory, configDirectory, bookmarksName);
}

void resetConfiguration(const std::wstring& dataDirectory, const std::wstring& configDirectory,
                        const std::wstring& baseLocation) {
    copyOut(dataDirectory, configDirectory, registryFileName);
    copyOut(dataDirectory, configDirectory, bookmarksName);
    removeResetDirectories(dataDirectory, configDirectory, baseLocation);
    moveConfigurationAside(configDirectory);
    makeUpdateDirectory(configDirectory, "ZLNCH0045E: Unable to create %ls directory.");
    moveBack(dataDirectory, configDirectory, registryFileName);
    moveBack(dataDirectory, configDirectory, bookmarksName);
}

void removeResetDirectories(const std::wstring& dataDirectory, const std::wstring& configDirectory,
                            const std::wstring& baseLocation) {
    PropertyList properties;
    loadPropertyFile(resetPropertiesPath(configDirectory, baseLocation), properties);
    const std::wstring root = withBackslashes(dataDirectory + L"\\.metadata\\.plugins\\");
    for (const PropertyEntry& entry : findProperties(L"resetDir.", properties)) {
        removeResetDirectory(root + entry.value);
    }
}

}  // namespace zellauncher
