#include "configuration/workspace.h"

#include <cstddef>
#include <optional>

#include "configuration/install_kind.h"
#include "foundation/environment.h"
#include "foundation/explanation.h"
#include "foundation/log_channel.h"
#include "foundation/paths.h"
#include "foundation/text.h"
#include "foundation/user_files.h"
#include "platform/files.h"
#include "properties/lookup_explanation.h"
#include "properties/substitution.h"

namespace zellauncher {

namespace {

void cutTrailingSeparator(std::wstring& path) {
    if (!path.empty() && (path.back() == L'/' || path.back() == L'\\')) {
        path.pop_back();
    }
}

SourcedText dataDirectoryOfArgument(SourcedText text, const PropertyList& zelLauncherArray,
                                    const std::wstring& zelHome) {
    cutTrailingSeparator(text);
    replaceFirst(text, L"${zel.home}", zelHome);
    substituteProperties(text, zelLauncherArray);  // unresolved tokens stay
    SourcedText path = resolveWorkspacePath(text);
    takeSource(path, text);
    return path;
}

SourcedText dataDirectoryOfProperty(SourcedText text, const PropertyList& zelLauncherArray,
                                    const std::wstring& zelHome) {
    if (!substituteProperties(text, zelLauncherArray)) {
        logFatalF("ZLNCH0099E: zel.data property is invalid (%ls)", text);
    }
    cutTrailingSeparator(text);
    replaceFirst(text, L"${zel.home}", zelHome);
    substituteProperties(text, zelLauncherArray);
    return text;
}

// For the service kinds.
SourcedText inInstall(const std::wstring& zelHome, const wchar_t* directory) {
    SourcedText path = zelHome + directory;
    takeSourceOfDecision(path, Subject::kind);
    return path;
}

SourcedText dataDirectoryOfUser(const PropertyList& zelLauncherArray) {
    const std::wstring* installId = lookupProperty(L"zel.install.id", zelLauncherArray);
    if (installId == nullptr) {
        logFatal("ZLNCH0035E: Couldn't find the zel.install.id property!");
    }
    const std::optional<std::wstring> userName = getEnvironmentVariable(L"USERNAME");
    if (!userName && !isDirectJavaStart()) {
        logFatal("ZLNCH0037E: Couldn't find the user name!");
    }
    SourcedText directory = userHomeDirectory() + L"/Mivel/ZEL/" + *installId + L"/" + userName.value_or(L"");
    takeSourceOfReading(directory);
    return directory;
}

}  // namespace

SourcedText resolveDataDirectory(const PropertyList& zelLauncherArray, const Arguments& arguments,
                                 const std::wstring& zelHome) {
    if (InstallConfiguration == InstallConfigurationKind::service) {
        return inInstall(zelHome, L"\\eclipse\\.workspace");
    }
    if (InstallConfiguration == InstallConfigurationKind::multiuserService) {
        return inInstall(zelHome, L"\\eclipse\\.muservice");
    }
    if (const SourcedText* argument = argumentAfter(L"-data", arguments)) {
        explainOverridden(L"zel.data", zelLauncherArray);
        return dataDirectoryOfArgument(*argument, zelLauncherArray, zelHome);
    }
    if (const SourcedText* property = lookupProperty(L"zel.data", zelLauncherArray)) {
        return dataDirectoryOfProperty(*property, zelLauncherArray, zelHome);
    }
    return dataDirectoryOfUser(zelLauncherArray);
}

SourcedText resolveConfigDirectory(const PropertyList& zelLauncherArray, const Arguments& arguments,
                                   const std::wstring& zelHome) {
    // Worked out for every kind, because its failures are fatal for the service kinds as well.
    const SourcedText dataDirectory = resolveDataDirectory(zelLauncherArray, arguments, zelHome);
    if (InstallConfiguration == InstallConfigurationKind::service) {
        return inInstall(zelHome, L"\\eclipse\\.config");
    }
    if (InstallConfiguration == InstallConfigurationKind::multiuserService) {
        return inInstall(zelHome, L"\\eclipse\\.muservice\\.config");
    }
    SourcedText directory = dataDirectory + L"/" + configDirectoryName;
    takeSource(directory, dataDirectory);
    return directory;
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
