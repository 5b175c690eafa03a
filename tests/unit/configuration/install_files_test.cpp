#include "configuration/install_files.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "configuration/install_kind.h"
#include "support/launcher_fixture.h"

namespace {

using zellauncher::InstallConfigurationKind;
using zellauncher::platformProgramName;

class InstallFiles : public launchertest::OnMachine {
protected:
    std::wstring pathOf(InstallConfigurationKind kind, const std::wstring& name) {
        std::wstring path;
        run([&] {
            zellauncher::InstallConfiguration = kind;
            path = zellauncher::baseFilePath(L"C:/b", name);
        });
        return path;
    }
};

TEST_F(InstallFiles, PlatformProgramIsTheFirstNameGiven) {
    EXPECT_EQ(platformProgramName({}), L"eclipse.exe");
    EXPECT_EQ(platformProgramName({{L"eclipse.name", L"own.exe"}, {L"eclipse.name", L"other"}}), L"own.exe");
    EXPECT_EQ(platformProgramName({{L"eclipse.name", L""}}), L"");
}

TEST_F(InstallFiles, FileOfTheKindReplacesTheBaseFile) {
    const std::vector<std::pair<InstallConfigurationKind, std::wstring>> cases = {
        {InstallConfigurationKind::service, L"C:\\b\\config\\\\f"},
        {InstallConfigurationKind::lockdown, L"C:\\b\\config\\user\\f"},
        {InstallConfigurationKind::user, L"C:\\b\\config\\user\\f"},
        {InstallConfigurationKind::serialMultiuser, L"C:\\b\\config\\\\f"},
        {InstallConfigurationKind::unknown, L"C:\\b\\config\\\\f"},
        {InstallConfigurationKind::multiuser, L"C:\\b\\config\\user\\f"},
        {InstallConfigurationKind::multiuserService, L"C:\\b\\config\\muservice\\f"},
        {InstallConfigurationKind::userpb, L"C:\\b\\config\\pbuilder\\f"}};
    for (const auto& [kind, path] : cases) {
        SCOPED_TRACE("kind " + std::to_string(static_cast<int>(kind)));
        EXPECT_EQ(pathOf(kind, L"f"), L"C:\\b\\f");
        machine.writeFile(path, "");
        EXPECT_EQ(pathOf(kind, L"f"), path);
        machine.remove(L"C:\\b");
    }
}

}  // namespace
