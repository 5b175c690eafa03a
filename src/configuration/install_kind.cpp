#include "configuration/install_kind.h"

#include <string>

#include "foundation/explanation.h"
#include "foundation/log_channel.h"

namespace zellauncher {

PROCESS_WIDE InstallConfigurationKind InstallConfiguration = InstallConfigurationKind::unknown;

namespace {

PROCESS_WIDE bool lockdownInstall = false;

struct NamedKind {
    const wchar_t* name;
    InstallConfigurationKind kind;
};

constexpr NamedKind namedKinds[] = {
    {L"service", InstallConfigurationKind::service},
    {L"user", InstallConfigurationKind::user},
    {L"serial.multiuser", InstallConfigurationKind::serialMultiuser},
    {L"lockdown", InstallConfigurationKind::lockdown},
    {L"userpb", InstallConfigurationKind::userpb},
    {L"multiuser", InstallConfigurationKind::multiuser},
};

InstallConfigurationKind kindOf(const std::wstring& name) {
    for (const NamedKind& named : namedKinds) {
        if (name == named.name) {
            return named.kind;
        }
    }
    return InstallConfigurationKind::unknown;
}

}  // namespace

bool readInstallConfiguration(const PropertyList& zelLauncherArray, ForcedKind forcedKind) {
    lockdownInstall = false;
    const Decision kind(Subject::kind);
    const std::wstring* value = lookupProperty(L"install.configuration", zelLauncherArray);
    if (value == nullptr) {
        logDebug("ZLNCH0041I: Missed install configuration in property file. Using default setting!");
        InstallConfiguration = InstallConfigurationKind::user;
    } else {
        InstallConfiguration = kindOf(*value);
        lockdownInstall = InstallConfiguration == InstallConfigurationKind::lockdown;
    }
    if (forcedKind == ForcedKind::multiuserService) {
        InstallConfiguration = InstallConfigurationKind::multiuserService;
    }
    return true;
}

bool isLockdownInstall() {
    return lockdownInstall;
}

bool isDirectJavaStart() {
    return InstallConfiguration == InstallConfigurationKind::service ||
           InstallConfiguration == InstallConfigurationKind::multiuserService;
}

}  // namespace zellauncher
