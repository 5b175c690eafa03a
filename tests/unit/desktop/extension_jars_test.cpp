#include "desktop/extension_jars.h"

#include <gtest/gtest.h>

#include "instance/platform_lock.h"
#include "javalaunch/launch_command.h"
#include "support/launcher_fixture.h"

namespace {

class ExtensionJars : public launchertest::OnMachine {
protected:
    std::wstring command;
    launchertest::Outcome outcome;

    // The command after a scan with this pattern; it was `prog` before.
    const std::wstring& scan(const std::wstring& pattern) {
        outcome = run([&] {
            zellauncher::isMainProcess = true;
            zellauncher::launchCommand = L"prog";
            zellauncher::extensionDirPattern = pattern;
            zellauncher::scanExtensionJars();
            command = zellauncher::launchCommand;
        });
        return command;
    }
};

TEST_F(ExtensionJars, AreTheLastElement) {
    machine.writeFile(L"C:\\Apps\\vxext\\b.jar", "");
    machine.writeFile(L"C:\\Apps\\vxext\\a.zip", "");
    machine.writeFile(L"C:\\Apps\\vxext\\c.txt", "");
    EXPECT_EQ(scan(L"C:\\Apps\\vxext\\*"), L"prog \"-cp=C:/Apps/vxext/a.zip;C:/Apps/vxext/b.jar\"");
}

TEST_F(ExtensionJars, EmptyPatternIsNotSearched) {
    EXPECT_EQ(scan(L""), L"prog");
    EXPECT_TRUE(outcome.logHas("ZELLauncher> Invalid file handle.."));
}

TEST_F(ExtensionJars, RemovedDirectoryDoesNotStopTheStart) {
    EXPECT_EQ(scan(L"C:\\Apps\\vxext\\*"), L"prog");
    EXPECT_EQ(outcome.processEnd().status, 0U);
    EXPECT_TRUE(outcome.logHas("ZELLauncher> Invalid file handle.."));
}

}  // namespace
