#include "launch/shared_steps.h"

#include <optional>

#include "configuration/install_identity.h"
#include "configuration/install_kind.h"
#include "configuration/workspace.h"
#include "foundation/explanation.h"
#include "foundation/log_channel.h"
#include "foundation/paths.h"
#include "foundation/temp_log.h"
#include "foundation/text.h"
#include "foundation/user_files.h"
#include "javalaunch/argument_expansion.h"
#include "javalaunch/jvm_properties.h"
#include "javalaunch/jvm_root.h"
#include "launch/argument_screening.h"
#include "platform/own_process.h"
#include "properties/property_reader.h"

namespace zellauncher {

namespace {

void resolveIdentity(LaunchContext& context, const std::wstring& propertiesPath) {
    Decision decision(Subject::identity);
    context.installId = resolveInstallId(propertiesPath, context.zelLauncherArray);
    decision.made(context.installId);
}

void readBaseLocation(LaunchContext& context, const std::wstring& propertiesPath) {
    Decision decision(Subject::baseLocation);
    const SourcedText* location = lookupProperty(L"zel.base.location", context.zelLauncherArray);
    if (location == nullptr) {
        logFatalF("ZLNCH0050E: zel.base.location property is missing from %ls", propertiesPath);
    }
    context.baseLocation = *location;
    replaceFirst(context.baseLocation, L"${zel.home}", context.zelHome);
    decision.made(context.baseLocation);
}

}  // namespace

void readInstall(LaunchContext& context) {
    const std::wstring propertiesPath = context.zelHome + L"\\zel\\zellauncher.properties";
    loadPropertyFile(propertiesPath, context.zelLauncherArray);
    context.effectiveArgs = expandConfiguredArguments(context.rawArguments, context.zelLauncherArray,
                                                      context.vmargOverrides, context.zelHome);
    setLogDebug(hasArgument(L"-debug", context.effectiveArgs));
    readInstallConfiguration(context.zelLauncherArray);
    resolveIdentity(context, propertiesPath);
    readBaseLocation(context, propertiesPath);
}

void screenArguments(const Arguments& rawArguments) {
    checkUrlHandlerArgs(rawArguments);
    checkDoubleQuotes(rawArguments);
    checkForbiddenArgs(rawArguments);
}

void resolveWorkspace(LaunchContext& context) {
    Decision decision(Subject::workspace);
    context.dataDirectory =
        resolveDataDirectory(context.zelLauncherArray, context.effectiveArgs, context.zelHome);
    decision.made(context.dataDirectory);
}

void resolveConfiguration(LaunchContext& context) {
    Decision decision(Subject::configurationDirectory);
    context.configDirectory =
        resolveConfigDirectory(context.zelLauncherArray, context.effectiveArgs, context.zelHome);
    decision.made(context.configDirectory);
}

std::wstring logsDirectoryOf(const LaunchContext& context) {
    return withBackslashes(context.dataDirectory + L"\\" + logsDirectoryName);
}

void openRunLog(const std::wstring& logsDirectory) {
    if (!openLog(logsDirectory)) {
        explainFatal();
        openTempLog();
        platform::exitProcess(-1);
    }
    removeTempLog();
}

void resolveJvm(LaunchContext& context) {
    const std::optional<JvmRoot> root =
        resolveJvmRoot(context.zelInstallArray, context.effectiveArgs, context.zelHome);
    // Required although no start gets here: every start has a JVM root.
    if (!root) {
        const ForcedLog forced;
        logDebugF(L"ZLNCH0125I: No jvm.properties file was loaded. A default file should be at \"%s\"",
                  L"${zel.home}/zel/deploy");
        return;
    }
    context.jvmRoot = *root;
    loadJvmProperties(context.zelInstallArray, context.vmargOverrides, context.jvmRoot, context.zelHome);
}

CommandInput commandInput(LaunchContext& context) {
    return {context.dataDirectory,   context.zelHome,          context.effectiveArgs,
            context.zelInstallArray, context.zelLauncherArray, context.vmargOverrides};
}

}  // namespace zellauncher
