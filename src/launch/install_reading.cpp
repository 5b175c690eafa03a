#include "launch/install_reading.h"

#include "configuration/install_configuration.h"
#include "configuration/install_identity.h"
#include "foundation/log_channel.h"
#include "foundation/paths.h"
#include "foundation/temp_log.h"
#include "foundation/text.h"
#include "javalaunch/argument_expansion.h"
#include "launch/argument_screening.h"
#include "platform/process.h"
#include "properties/property_reader.h"

namespace zellauncher {

namespace {

void readBaseLocation(LaunchContext& context, const std::wstring& propertiesPath) {
    const std::wstring* location = lookupProperty(L"zel.base.location", context.zelLauncherArray);
    if (location == nullptr) {
        logFatalF("ZLNCH0050E: zel.base.location property is missing from %ls", propertiesPath);
    }
    context.baseLocation = *location;
    replaceFirst(context.baseLocation, L"${zel.home}", context.zelHome);
}

}  // namespace

void readInstall(LaunchContext& context) {
    const std::wstring propertiesPath = context.zelHome + L"\\zel\\zellauncher.properties";
    loadPropertyFile(propertiesPath, context.zelLauncherArray);
    expandConfiguredArguments(context.effectiveArgs, context.rawArguments, context.zelLauncherArray,
                              context.vmargOverrides, context.zelHome);
    setLogDebug(hasArgument(L"-debug", context.effectiveArgs));
    readInstallConfiguration(context.zelLauncherArray, false);
    context.installId = resolveInstallId(propertiesPath, context.zelLauncherArray);
    readBaseLocation(context, propertiesPath);
}

void screenArguments(const Arguments& rawArguments) {
    checkUrlHandlerArgs(rawArguments);
    checkDoubleQuotes(rawArguments);
    checkForbiddenArgs(rawArguments);
}

std::wstring logsDirectoryOf(const LaunchContext& context) {
    std::wstring logsDirectory = context.dataDirectory + L"\\logs";
    toBackslashes(logsDirectory);
    return logsDirectory;
}

void openRunLog(const std::wstring& logsDirectory) {
    if (!openLog(logsDirectory)) {
        openTempLog();
        platform::exitProcess(-1);
    }
    removeTempLog();
}

}  // namespace zellauncher
