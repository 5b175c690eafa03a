#include "configuration/workspace.h"

#include <cstddef>
#include <optional>

#include "configuration/install_kind.h"
#include "foundation/environment.h"
#include "foundation/log_channel.h"
#include "foundation/paths.h"
#include "foundation/text.h"
#include "foundation/user_files.h"
#include "platform/files.h"
#include "properties/substitution.h"

namespace zellauncher {

namespace {

void cutTrailingSeparator(std::wstring& path) {
    if (!path.empty() && (path.back() == L'/' || path.back() == L'\\')) {
        path.pop_back();
    }
}

std::wstring dataDirectoryOfArgument(std::wstring text, const PropertyList& zelLauncherArray,
                                     const std::wstring& zelHome) {
    cutTrailingSeparator(text);
    replaceFirst(text, L"${zel.home}", zelHome);
    substituteProperties(text, zelLauncherArray);  // unresolved tokens stay
    return resolveWorkspacePath(text);
}

std::wstring dataDirectoryOfProperty(std::wstring text, const PropertyList& zelLauncherArray,
                                     const std::wstring& zelHome) {
    if (!substituteProperties(text, zelLauncherArray)) {
        logFatalF("ZLNCH0099E: zel.data property is invalid (%ls)", text);
    }
    cutTrailingSeparator(text);
    replaceFirst(text, L"${zel.home}", zelHome);
    substituteProperties(text, zelLauncherArray);
    return text;
}

std::wstring dataDirectoryOfUser(const PropertyList& zelLauncherArray) {
    const std::wstring* installId = lookupProperty(L"zel.install.id", zelLauncherArray);
    if (installId == nullptr) {
        logFatal("ZLNCH0035E: Couldn't find the zel.install.id property!");
    }
    const std::optional<std::wstring> userName = getEnvironmentVariable(L"USERNAME");
    if (!userName && !isDirectJavaStart()) {
        logFatal("ZLNCH0037E: Couldn't find the user name!");
    }
    return userHomeDirectory() + L"/Mivel/ZEL/" + *installId + L"/" + userName.value_or(L"");
}

}  // namespace

std::wstring resolveDataDirectory(const PropertyList& zelLauncherArray, const Arguments& arguments,
                                  const std::wstring& zelHome) {
    if (InstallConfiguration == InstallConfigurationKind::service) {
        return zelHome + L"\\eclipse\\.workspace";
    }
    if (InstallConfiguration == InstallConfigurationKind::multiuserService) {
        return zelHome + L"\\eclipse\\.muservice";
    }
    if (const std::wstring* argument = argumentAfter(L"-data", arguments)) {
        return dataDirectoryOfArgument(*argument, zelLauncherArray, zelHome);
    }
    if (const std::wstring* property = lookupProperty(L"zel.data", zelLauncherArray)) {
        return dataDirectoryOfProperty(*property, zelLauncherArray, zelHome);
    }
    return dataDirectoryOfUser(zelLauncherArray);
}

std::wstring resolveConfigDirectory(const PropertyList& zelLauncherArray, const Arguments& arguments,
                                    const std::wstring& zelHome) {
    // Worked out for every kind, because its failures are fatal for the service kinds as well.
    const std::wstring dataDirectory = resolveDataDirectory(zelLauncherArray, arguments, zelHome);
    if (InstallConfiguration == InstallConfigurationKind::service) {
        return zelHome + L"\\eclipse\\.config";
    }
    if (InstallConfiguration == InstallConfigurationKind::multiuserService) {
        return zelHome + L"\\eclipse\\.muservice\\.config";
    }
    return dataDirectory + L"/" + configDirectoryName;
}

std::wstring userHomeDirectory() {
    const std::optional<std::wstring> drive = getEnvironmentVariable(L"HOMEDRIVE");
    const std::optional<std::wstring> path = getEnvironmentVariable(L"HOMEPATH");
    if (drive && path) {
        return *path == L"\\" ? *drive : *drive + *path;
    }
    const std::optional<std::wstring> profile = getEnvironmentVariable(L"USERPROFILE");
    if (!profile) {
        logFatal("ZLNCH0082E: Unable to determine user's home directory");
    }
    return *profile;
}

std::wstring resolveWorkspacePath(const std::wstring& path) {
    constexpr std::size_t fullPathCapacity = 260;
    const bool hasDrive = path.size() > 2 && path[1] == L':' && (path[2] == L'\\' || path[2] == L'/');
    if (hasDrive || path.starts_with(longPathPrefix) || path == L"\\\\") {
        return path;
    }
    if (path.starts_with(L"${")) {
        logFatal("ZLNCH0301E: Starts with placeholder. This should be translated");
    }
    const std::optional<std::wstring> full =
        platform::fullPathName(path.empty() ? L"." : path, fullPathCapacity);
    if (!full) {
        logFatal("ZLNCH0302E: Unable to convert relative workspace path to a full path");
    }
    return *full;
}

}  // namespace zellauncher
