#include "javalaunch/system_properties.h"

#include "configuration/install_kind.h"
#include "configuration/workspace.h"
#include "foundation/explanation.h"
#include "foundation/log_channel.h"
#include "foundation/paths.h"
#include "instance/platform_lock.h"
#include "javalaunch/launch_command.h"

namespace zellauncher {

namespace {

void appendSystemProperty(const std::wstring& name, const SourcedText& value) {
    appendArgument(withSourceOf(value, formatSystemProperty(name, value)));
}

std::wstring installConfigurationWord() {
    switch (InstallConfiguration) {
        case InstallConfigurationKind::service:
            return L"service";
        case InstallConfigurationKind::lockdown:
            return L"lockdown";
        case InstallConfigurationKind::user:
            return L"user";
        case InstallConfigurationKind::serialMultiuser:
            return L"serial.multiuser";
        case InstallConfigurationKind::multiuser:
        case InstallConfigurationKind::multiuserService:
            return L"multiuser";
        case InstallConfigurationKind::userpb:
            return L"userpb";
        case InstallConfigurationKind::unknown:
            break;
    }
    logFatal("ZLNCH0025E: The platform zel.install.id must be provided for this configuration!");
}

void appendInstallId(const PropertyList& zelInstallArray) {
    const SourcedText* installId = lookupProperty(L"zel.install.id", zelInstallArray);
    if (installId == nullptr) {
        logFatal("ZLNCH0036E: Couldn't find the zel.install.id property!");
    }
    appendSystemProperty(L"-Dcom.mivel.zel.install.id", *installId);
}

void appendFileProperties(const PropertyList& zelInstallArray) {
    for (const PropertyEntry& entry : findProperties(L"-D", zelInstallArray)) {
        const std::wstring element = formatSystemProperty(entry.key, entry.value);
        appendArgument(withSourceOf(entry.value, element));
        logDebugF(L"ZLNCH0075I: commandArg  = \"%s\"", element);
    }
}

}  // namespace

std::wstring formatSystemProperty(const std::wstring& name, const std::wstring& value) {
    return name + L"=" + quotedValue(value);
}

void appendSystemProperties(const PropertyList& zelInstallArray, const PropertyList& zelLauncherArray,
                            const Arguments& arguments, const SourcedText& zelHome) {
    explainSection("system properties");
    appendSystemProperty(L"-Dzel.home", zelHome);
    appendSystemProperty(L"-Dzel.data", resolveDataDirectory(zelLauncherArray, arguments, zelHome));
    if (const SourcedText* splashPath = lookupProperty(L"osgi.splashPath", zelLauncherArray)) {
        appendSystemProperty(L"-Dosgi.splashPath", *splashPath);
    }
    appendInstallId(zelInstallArray);
    SourcedText kind = installConfigurationWord();
    takeSourceOfDecision(kind, Subject::kind);
    appendSystemProperty(L"-Dzel.install.config", kind);
    appendFileProperties(zelInstallArray);
    appendSystemProperty(L"-Dzel.osgi.install.area",
                         withSourceOf(zelHome, withBackslashes(zelHome + L"/zel/eclipse")));
}

}  // namespace zellauncher
