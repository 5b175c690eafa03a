#include <gtest/gtest.h>

#include <string>

#include "scenarios/story.h"

namespace {

using scenarios::contains;
using scenarios::Story;

std::wstring replaced(std::wstring text, const std::wstring& part, const std::wstring& replacement) {
    for (std::size_t at = text.find(part); at != std::wstring::npos;
         at = text.find(part, at + replacement.size())) {
        text.replace(at, part.size(), replacement);
    }
    return text;
}

class UnusualPaths : public Story {};

TEST_F(UnusualPaths, WorkspaceMayBeTheRootOfADrive) {
    for (const wchar_t* root : {L"D:\\", L"D:/"}) {
        layOut();
        machine.remove(L"D:\\");
        machine.makeDirectory(L"D:\\");
        EXPECT_STARTED(launch({L"-data", root}));
        EXPECT_TRUE(machine.exists(L"D:\\.config\\zelinstall.properties"));
        EXPECT_TRUE(machine.exists(L"D:\\.zel.lock"));
        EXPECT_TRUE(machine.exists(L"D:\\logs\\zellauncher.log"));
        machine.runUntilIdle(120000);
    }
}

TEST_F(UnusualPaths, ProgramMayBeNamedByItsLongPath) {
    EXPECT_STARTED(launch());
    const std::wstring plain = command();
    closePlatform();
    EXPECT_STARTED(launchFrom(std::wstring(L"\\\\?\\") + launcher));
    const std::wstring expected =
        replaced(replaced(plain, L"C:/Apps", L"//?/C:/Apps"), L"C:\\Apps", L"\\\\?\\C:\\Apps");
    EXPECT_NE(expected, plain);
    EXPECT_EQ(command(), expected);
    EXPECT_EQ(valueIn(inConfig(L"args.properties"), L"arg0"), std::wstring(L"\\\\?\\") + launcher);
}

// The directory `vxext` is beside the first `framework` of the path.
TEST_F(UnusualPaths, FirstOfTwoFrameworksIsTaken) {
    layOut();
    const std::wstring other = L"C:\\Outer\\framework\\x\\framework\\Client";
    machine.writeFile(other + L"\\zel\\zellauncher.exe", "");
    launcherProperties.set("zel.base.location", "C:/Apps/framework/Client/zel/eclipse/plugins/base_1.0");
    machine.writeFile(other + L"\\zel\\zellauncher.properties", launcherProperties.content());
    machine.writeFile(other + L"\\custom.ini", "");
    machine.writeFile(other + L"\\zel\\deploy\\jvm.properties", "");
    machine.writeFile(L"C:\\Outer\\vxext\\first.jar", "");
    machine.writeFile(L"C:\\Outer\\framework\\x\\vxext\\second.jar", "");
    EXPECT_STARTED(launchFrom(other + L"\\zel\\zellauncher.exe"));
    EXPECT_EQ(elements().back(), L"\"-cp=C:/Outer/vxext/first.jar\"");
}

// A text file ends at a Ctrl-Z.
class EndMark : public Story {
protected:
    void append(const std::wstring& path, const std::string& text) {
        machine.writeFile(path, machine.readFile(path).value_or("") + text);
    }
};

TEST_F(EndMark, OfTheUsersPropertiesChangesNothing) {
    EXPECT_STARTED(launch());
    const std::wstring first = command();
    closePlatform();
    append(inConfig(L"zelinstall.properties"), "\x1A");
    EXPECT_STARTED(launch());
    EXPECT_EQ(command(), first);
    closePlatform();
    append(inConfig(L"zelinstall.properties"), "product=other\r\n");
    EXPECT_STARTED(launch());
    EXPECT_EQ(command(), first);
}

TEST_F(EndMark, OfATemplateIsNotCopied) {
    baseProperties.addLine("\x1A");
    EXPECT_STARTED(launch());
    EXPECT_FALSE(contains(*configFile(L"zelinstall.properties"), "\x1A"));
    EXPECT_TRUE(hasElement(L"-Dzel.install.config=\"user\""));
}

TEST_F(EndMark, OfTheInstallsPropertiesChangesNothing) {
    launcherProperties.addLine("\x1A");
    EXPECT_STARTED(launch());
    EXPECT_TRUE(hasElement(L"-Dzel.install.config=\"user\""));
}

}  // namespace
