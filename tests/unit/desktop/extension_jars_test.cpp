#include "desktop/extension_jars.h"

#include <gtest/gtest.h>

#include "instance/platform_lock.h"
#include "javalaunch/launch_command.h"
#include "support/launcher_fixture.h"
#include "support/operations.h"

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
    EXPECT_TRUE(outcome.logHas("ZELLauncher> appending classpath with vxext jars"));
}

TEST_F(ExtensionJars, OnlyWholeEndingsInLowerCaseAreListed) {
    for (const wchar_t* name : {L"a.JAR", L"b.jar.bak", L"jar", L"c.Zip", L"d.jars", L".jar", L"e.b.zip"}) {
        machine.writeFile(L"C:\\v\\" + std::wstring(name), "");
    }
    EXPECT_EQ(scan(L"C:\\v\\*"), L"prog \"-cp=C:/v/.jar;C:/v/e.b.zip\"");
}

TEST_F(ExtensionJars, DirectoriesAreLoggedAndSkipped) {
    machine.writeFile(L"C:\\v\\x.jar\\inner.jar", "");
    EXPECT_EQ(scan(L"C:\\v\\*"), L"prog");
    // `.`, `..` and x.jar.
    EXPECT_EQ(outcome.log,
              launchertest::lines(std::vector<std::string>(3, "ZELLauncher> Scanning directory..")));
}

TEST_F(ExtensionJars, FirstHundredAreListed) {
    const std::string message = "ZELLauncher> Number of jar files greater than MAX jar files (100)";
    std::wstring expected = L"prog \"-cp=C:/v/100.jar";
    for (int number = 100; number < 200; ++number) {
        machine.writeFile(L"C:\\v\\" + std::to_wstring(number) + L".jar", "");
        expected += number > 100 ? L";C:/v/" + std::to_wstring(number) + L".jar" : L"";
    }
    EXPECT_EQ(scan(L"C:\\v\\*"), expected + L"\"");
    EXPECT_FALSE(outcome.logHas(message));
    for (const wchar_t* name : {L"C:\\v\\200.jar", L"C:\\v\\201.jar"}) {
        machine.writeFile(name, "");
        EXPECT_EQ(scan(L"C:\\v\\*"), expected + L"\"");
        EXPECT_TRUE(outcome.logHas(message));
        EXPECT_EQ(outcome.linesBeginningWith(message), 1U);
    }
}

TEST_F(ExtensionJars, ListIsCutAtTwoThousandCharacters) {
    const std::wstring name(200, L'x');
    for (int number = 100; number < 120; ++number) {
        machine.writeFile(L"C:\\v\\" + std::to_wstring(number) + name + L".jar", "");
    }
    const std::wstring element = scan(L"C:\\v\\*").substr(5);
    EXPECT_EQ(element.size(), 2002U);
    EXPECT_TRUE(element.starts_with(L"\"-cp=C:/v/100" + name + L".jar;C:/v/101"));
    EXPECT_TRUE(element.ends_with(L"x\""));
    EXPECT_EQ(outcome.linesBeginningWith("ZELLauncher> Number"), 0U);
}

TEST_F(ExtensionJars, SearchIsClosed) {
    machine.writeFile(L"C:\\v\\a.jar", "");
    scan(L"C:\\v\\*");
    EXPECT_EQ(launchertest::callsOf(machine, "findClose").size(), 1U);
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
