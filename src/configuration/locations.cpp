#include "configuration/locations.h"

#include <cstddef>

#include "configuration/install_configuration.h"
#include "foundation/environment.h"
#include "foundation/file_tests.h"
#include "foundation/log_channel.h"
#include "foundation/own_program.h"
#include "foundation/paths.h"
#include "foundation/text.h"
#include "properties/substitution.h"

namespace zellauncher {

namespace {

void cutTrailingSeparator(std::wstring& path) {
    if (!path.empty() && (path.back() == L'/' || path.back() == L'\\')) {
        path.pop_back();
    }
}

const std::wstring* dataArgument(const Arguments& arguments) {
    const int option = findArgumentIndex(L"-data", arguments);
    const std::size_t value = static_cast<std::size_t>(option) + 1;
    return option >= 0 && value < arguments.size() ? &arguments[value] : nullptr;
}

std::wstring dataDirectoryOfArgument(std::wstring text, const PropertyList& zelLauncherArray,
                                     const std::wstring& zelHome) {
    cutTrailingSeparator(text);
    replaceFirst(text, L"${zel.home}", zelHome);
    substituteProperties(text, zelLauncherArray);  // what cannot be resolved stays in the text
    std::wstring fullPath;
    resolveWorkspacePath(text, fullPath);
    return fullPath;
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
    std::wstring userName;
    if (getEnvironmentVariable(L"USERNAME", userName) == nullptr && !isDirectJavaStart()) {
        logFatal("ZLNCH0037E: Couldn't find the user name!");
    }
    std::wstring home;
    userHomeDirectory(home);
    return home + L"/Mivel/ZEL/" + *installId + L"/" + userName;
}

const wchar_t* configSubdirectory() {
    switch (InstallConfiguration) {
        case InstallConfigurationKind::lockdown:
        case InstallConfigurationKind::user:
        case InstallConfigurationKind::multiuser:
            return L"user";
        case InstallConfigurationKind::multiuserService:
            return L"muservice";
        case InstallConfigurationKind::userpb:
            return L"pbuilder";
        default:
            return L"";
    }
}

}  // namespace

void resolveDataDirectory(std::wstring& dataDirectory, const PropertyList& zelLauncherArray,
                          const Arguments& arguments, const std::wstring& zelHome) {
    if (InstallConfiguration == InstallConfigurationKind::service) {
        dataDirectory = zelHome + L"\\eclipse\\.workspace";
    } else if (InstallConfiguration == InstallConfigurationKind::multiuserService) {
        dataDirectory = zelHome + L"\\eclipse\\.muservice";
    } else if (const std::wstring* argument = dataArgument(arguments)) {
        dataDirectory = dataDirectoryOfArgument(*argument, zelLauncherArray, zelHome);
    } else if (const std::wstring* property = lookupProperty(L"zel.data", zelLauncherArray)) {
        dataDirectory = dataDirectoryOfProperty(*property, zelLauncherArray, zelHome);
    } else {
        dataDirectory = dataDirectoryOfUser(zelLauncherArray);
    }
}

void resolveConfigDirectory(std::wstring& configDirectory, const PropertyList& zelLauncherArray,
                            const Arguments& arguments, const std::wstring& zelHome) {
    std::wstring dataDirectory;
    resolveDataDirectory(dataDirectory, zelLauncherArray, arguments, zelHome);
    if (InstallConfiguration == InstallConfigurationKind::service) {
        configDirectory = zelHome + L"\\eclipse\\.config";
    } else if (InstallConfiguration == InstallConfigurationKind::multiuserService) {
        configDirectory = zelHome + L"\\eclipse\\.muservice\\.config";
    } else {
        configDirectory = dataDirectory + L"/.config";
    }
}

void userHomeDirectory(std::wstring& home) {
    std::wstring drive;
    std::wstring path;
    const bool hasDrive = getEnvironmentVariable(L"HOMEDRIVE", drive) != nullptr;
    const bool hasPath = getEnvironmentVariable(L"HOMEPATH", path) != nullptr;
    if (hasDrive && hasPath) {
        home = path == L"\\" ? drive : drive + path;
        return;
    }
    if (getEnvironmentVariable(L"USERPROFILE", home) == nullptr) {
        logFatal("ZLNCH0082E: Unable to determine user's home directory");
    }
}

void platformProgramName(std::wstring& exeName, const PropertyList& list) {
    const std::wstring* name = lookupProperty(L"eclipse.name", list);
    exeName = name != nullptr ? *name : L"eclipse.exe";
}

void baseFilePath(std::wstring& path, const std::wstring& baseDirectory, const std::wstring& fileName) {
    path = baseDirectory + L"\\config\\" + configSubdirectory() + L"\\" + fileName;
    toBackslashes(path);
    if (!fileExists(path)) {
        path = baseDirectory + L"\\" + fileName;
        toBackslashes(path);
    }
}

void locateProgram(std::wstring& path, const std::wstring& program) {
    if (!findOwnProgram(path, program)) {
        logFatalF("ZLNCH0047E: Unable to locate %ls", path);
    }
}

}  // namespace zellauncher
