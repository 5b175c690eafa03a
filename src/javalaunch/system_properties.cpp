#include "javalaunch/system_properties.h"

#include "configuration/install_configuration.h"
#include "configuration/locations.h"
#include "foundation/log_channel.h"
#include "foundation/paths.h"
#include "launch/launch_command.h"
#include "launch/launch_state.h"

namespace zellauncher {

namespace {

// A daemon's list has no need for quotes.
std::wstring quoteOnMain(const std::wstring& value) {
    return isMainProcess ? L"\"" + value + L"\"" : value;
}

void appendSystemProperty(const std::wstring& name, const std::wstring& value) {
    appendArgument(formatSystemProperty(name, value), false);
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
    const std::wstring* installId = lookupProperty(L"zel.install.id", zelInstallArray);
    if (installId == nullptr) {
        logFatal("ZLNCH0036E: Couldn't find the zel.install.id property!");
    }
    appendSystemProperty(L"-Dcom.mivel.zel.install.id", *installId);
}

// Every `-D` key of the property files becomes a system property.
void appendFileProperties(const PropertyList& zelInstallArray) {
    for (const PropertyEntry* entry : findProperties(L"-D", zelInstallArray)) {
        const std::wstring element = formatSystemProperty(entry->key, entry->value);
        appendArgument(element, false);
        logDebugF(L"ZLNCH0075I: commandArg  = \"%s\"", element);
    }
}

void appendBootOption(const std::wstring& option, const wchar_t* key, const PropertyList& zelInstallArray) {
    if (const std::wstring* value = lookupProperty(key, zelInstallArray)) {
        appendArgument(option + quoteOnMain(*value), false);
    }
}

}  // namespace

std::wstring formatSystemProperty(const std::wstring& name, const std::wstring& value) {
    return name + L"=" + quoteOnMain(value);
}

void appendSystemProperties(const PropertyList& zelInstallArray, const PropertyList& zelLauncherArray,
                            const Arguments& arguments, const std::wstring& zelHome) {
    appendSystemProperty(L"-Dzel.home", zelHome);
    std::wstring dataDirectory;
    resolveDataDirectory(dataDirectory, zelLauncherArray, arguments, zelHome);
    appendSystemProperty(L"-Dzel.data", dataDirectory);
    if (const std::wstring* splashPath = lookupProperty(L"osgi.splashPath", zelLauncherArray)) {
        appendSystemProperty(L"-Dosgi.splashPath", *splashPath);
    }
    appendInstallId(zelInstallArray);
    appendSystemProperty(L"-Dzel.install.config", installConfigurationWord());
    appendFileProperties(zelInstallArray);
    std::wstring installArea = zelHome + L"/zel/eclipse";
    toBackslashes(installArea);
    appendSystemProperty(L"-Dzel.osgi.install.area", installArea);
}

void appendBootClassPath(const PropertyList& zelInstallArray) {
    for (const PropertyEntry* entry : findProperties(L"-X", zelInstallArray)) {
        appendArgument(entry->key + entry->value, true);
    }
    appendBootOption(L"-Xbootclasspath/p:", L"Xbootclasspath.prepend", zelInstallArray);
    appendBootOption(L"-Xbootclasspath/a:", L"Xbootclasspath.append", zelInstallArray);
}

void appendClassPath(const PropertyList& zelInstallArray) {
    if (InstallConfiguration == InstallConfigurationKind::multiuserService) {
        const std::wstring* location = lookupProperty(L"zel.base.location", zelInstallArray);
        appendArgument(L"-cp", false);
        appendArgument((location != nullptr ? *location : std::wstring()) + L"/startup.jar", true);
    } else if (const std::wstring* classPath = lookupProperty(L"cp", zelInstallArray)) {
        appendArgument(L"-cp", false);
        appendArgument(*classPath, true);
    }
}

}  // namespace zellauncher
