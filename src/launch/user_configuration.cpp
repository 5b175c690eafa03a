#include "launch/user_configuration.h"

#include <algorithm>
#include <iterator>
#include <string>

#include "configuration/initial_launch.h"
#include "configuration/install_identity.h"
#include "configuration/restart_state.h"
#include "configuration/user_install_properties.h"
#include "foundation/file_operations.h"
#include "foundation/file_queries.h"
#include "foundation/log_channel.h"
#include "foundation/paths.h"
#include "foundation/user_files.h"
#include "instance/platform_lock.h"
#include "launch/argument_screening.h"
#include "launch/user_directories.h"
#include "properties/property_reader.h"
#include "provisioning/backup_and_reset.h"
#include "provisioning/config_ini.h"

namespace zellauncher {

namespace {

constexpr const wchar_t* requiredKeys[] = {L"zel.install.id", L"zel.base.location", L"vm",
                                           L"Xbootclasspath.append"};

void seedApplicationArea(const LaunchContext& context) {
    const std::wstring area = context.dataDirectory + L"/applications/eclipse";
    ensureUserDirectory(withBackslashes(area + L"/features"), "ZLNCH0094E: Unable to create %ls directory.");
    ensureUserDirectory(withBackslashes(area + L"/plugins"), "ZLNCH0095E: Unable to create %ls directory.");
    const std::wstring marker = withBackslashes(context.zelHome + L"/shared/eclipse/.eclipseextension");
    if (fileExists(marker)) {
        const std::wstring copy = withBackslashes(area + L"/.eclipseextension");
        if (copyFileNoReplace(marker, copy)) {
            bringToDevice(copy);
        }
    }
}

// A restart continues with the arguments of the start before it, so it does not record its own.
void recordRestartState(const LaunchContext& context) {
    if (!isMainProcess || hasRestartFlag(context.rawArguments)) {
        return;
    }
    const std::wstring program =
        resolveRestartProgram(context.rawArguments, context.zelLauncherArray, context.zelHome);
    writeRestartState(context.rawArguments, context.configDirectory, program, context.zelLauncherArray,
                      context.zelHome);
}

std::wstring backupPropsPath(const LaunchContext& context) {
    return withBackslashes(context.configDirectory + L"\\" + installPropertiesName + L".bak");
}

bool isComplete(const std::wstring& propertiesPath) {
    PropertyList properties;
    loadPropertyFile(propertiesPath, properties);
    return std::all_of(std::begin(requiredKeys), std::end(requiredKeys),
                       [&](const wchar_t* key) { return lookupProperty(key, properties) != nullptr; });
}

bool recoverFromBackup(const LaunchContext& context) {
    const std::wstring backup = backupPropsPath(context);
    if (!fileExists(backup) || !isComplete(backup)) {
        return false;
    }
    deleteFile(context.userPropsPath);
    if (copyFileNoReplace(backup, context.userPropsPath)) {
        bringToDevice(context.userPropsPath);
        return true;
    }
    logDebug("ZLNCH0022E: Unable to recover zelinstall.properties");
    return false;
}

}  // namespace

void resetConfigurationIfDue(const LaunchContext& context) {
    if (initialLaunch) {
        return;
    }
    if (installIdChanged(context.installId, context.configDirectory)) {
        backupConfiguration(context.dataDirectory, context.configDirectory);
    } else if (hasArgument(L"-resetconfig", context.rawArguments)) {
        resetConfiguration(context.dataDirectory, context.configDirectory, context.baseLocation);
    }
}

void seedConfiguration(LaunchContext& context) {
    seedApplicationArea(context);
    recordRestartState(context);
    seedConfigIni(context.configDirectory, context.baseLocation);
    context.userPropsPath =
        ensureUserInstallProperties(context.configDirectory, context.baseLocation, context.zelLauncherArray);
}

void repairUserProperties(LaunchContext& context) {
    if (isComplete(context.userPropsPath) || recoverFromBackup(context)) {
        return;
    }
    resetConfiguration(context.dataDirectory, context.configDirectory, context.baseLocation);
    seedConfiguration(context);
}

void refreshUserPropertiesBackup(const LaunchContext& context) {
    const std::wstring backup = backupPropsPath(context);
    if (fileExists(backup)) {
        deleteFile(backup);
    }
    if (!copyFileNoReplace(context.userPropsPath, backup)) {
        logDebug("ZLNCH0022E: Unable to backup zelinstall.properties");
    }
}

}  // namespace zellauncher
