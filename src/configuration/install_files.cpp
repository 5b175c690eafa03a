#include "configuration/install_files.h"

#include "configuration/install_kind.h"
#include "foundation/file_queries.h"
#include "foundation/paths.h"

namespace zellauncher {

namespace {

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

std::wstring platformProgramName(const PropertyList& list) {
    const std::wstring* name = lookupProperty(L"eclipse.name", list);
    return name != nullptr ? *name : L"eclipse.exe";
}

std::wstring baseFilePath(const std::wstring& baseDirectory, const std::wstring& fileName) {
    const std::wstring path =
        withBackslashes(baseDirectory + L"\\config\\" + configSubdirectory() + L"\\" + fileName);
    return fileExists(path) ? path : withBackslashes(baseDirectory + L"\\" + fileName);
}

}  // namespace zellauncher
