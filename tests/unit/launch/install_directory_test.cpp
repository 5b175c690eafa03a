#include "launch/install_directory.h"

#include <gtest/gtest.h>

#include <string>

#include "foundation/log_channel.h"
#include "simulation/machine.h"

namespace {

// Each test starts a program of its own path, so the machine is used without the common fixture.
class InstallDirectory : public ::testing::Test {
protected:
    simulation::Machine machine;
    std::wstring found = L"untouched";

    InstallDirectory() { machine.makeDirectory(L"C:\\Temp"); }

    simulation::ProcessEnd locateBy(const std::wstring& module, const zellauncher::Arguments& words) {
        return machine.run({module}, [&] {
            zellauncher::locateInstallDir(found, words);
            return 0;
        });
    }
    simulation::ProcessEnd locate(const std::wstring& module, const std::wstring& wordZero) {
        return locateBy(module, {wordZero});
    }
    simulation::ProcessEnd locate(const std::wstring& module) { return locate(module, module); }

    std::string lastLine() const {
        const std::string log = machine.readFile(L"C:\\Temp\\zellauncher.log").value_or("");
        const std::size_t first = log.find("ZLNCH");
        return first == std::string::npos ? log : log.substr(first, log.find('\r', first) - first);
    }
};

TEST_F(InstallDirectory, StandsAboveTheDirectoryZel) {
    machine.writeFile(L"C:\\Apps\\framework\\zel\\zellauncher.exe", "");
    EXPECT_EQ(locate(L"C:\\Apps\\framework\\zel\\zellauncher.exe").status, 0U);
    EXPECT_EQ(found, L"C:\\Apps\\framework");
}

TEST_F(InstallDirectory, ADriveRootCounts) {
    machine.writeFile(L"C:\\zel\\zellauncher.exe", "");
    EXPECT_EQ(locate(L"C:\\zel\\zellauncher.exe").status, 0U);
    EXPECT_EQ(found, L"C:");
}

TEST_F(InstallDirectory, ARelativeProgramIsMadeFull) {
    machine.writeFile(L"C:\\Apps\\zel\\zellauncher.exe", "");
    machine.setCurrentDirectory(L"C:\\Apps");
    EXPECT_EQ(locate(L"C:\\Apps\\zel\\zellauncher.exe", L"zel\\zellauncher.exe").status, 0U);
    EXPECT_EQ(found, L"C:\\Apps");
}

TEST_F(InstallDirectory, TheRunningModuleHelpsWhenWordZeroNamesNoProgram) {
    machine.writeFile(L"C:\\Apps\\zel\\zellauncher.exe", "");
    EXPECT_EQ(locate(L"C:\\Apps\\zel\\zellauncher.exe", L"zellauncher").status, 0U);
    EXPECT_EQ(found, L"C:\\Apps");
}

TEST_F(InstallDirectory, TheRunningModuleHelpsWhenThereIsNoWordAtAll) {
    machine.writeFile(L"C:\\Apps\\zel\\zellauncher.exe", "");
    EXPECT_EQ(locateBy(L"C:\\Apps\\zel\\zellauncher.exe", {}).status, 0U);
    EXPECT_EQ(found, L"C:\\Apps");
}

TEST_F(InstallDirectory, AProgramThatCannotBeFoundIsNamedAsItWasTriedLast) {
    EXPECT_EQ(locate(L"C:\\gone\\zel\\zellauncher.exe", L"D:\\else\\zellauncher.exe").status, 0xFFFFFFFFU);
    EXPECT_EQ(lastLine(), "ZLNCH0129E: Unable to locate C:\\gone\\zel\\zellauncher.exe");
    EXPECT_EQ(found, L"untouched");
}

TEST_F(InstallDirectory, TheDirectoryOfTheProgramMustBeThere) {
    // The directory vanishes between the two looks at the disk.
    machine.writeFile(L"C:\\Apps\\zel\\zellauncher.exe", "");
    simulation::Fault fault;
    fault.operation = "fileAttributes";
    fault.nth = 2;
    machine.inject(fault);
    EXPECT_EQ(locate(L"C:\\Apps\\zel\\zellauncher.exe").status, 0xFFFFFFFFU);
    EXPECT_EQ(lastLine(),
              "ZLNCH0048E: Unable to locate the directory containing C:\\Apps\\zel\\zellauncher.exe");
}

TEST_F(InstallDirectory, TheLauncherStandsInADirectoryOfThatVeryName) {
    const char* message = "ZLNCH0049E: Unable to locate the platform's installation directory";
    for (const std::wstring directory : {L"C:\\Apps\\bin", L"C:\\Apps\\ZEL", L"C:\\Apps\\xzel", L"C:"}) {
        machine.writeFile(directory + L"\\zellauncher.exe", "");
        EXPECT_EQ(locate(directory + L"\\zellauncher.exe").status, 0xFFFFFFFFU);
        EXPECT_EQ(lastLine(), message);
        machine.remove(directory + L"\\zellauncher.exe");
    }
}

TEST_F(InstallDirectory, TheInstallDirectoryMustBeThere) {
    machine.writeFile(L"C:\\Apps\\zel\\zellauncher.exe", "");
    simulation::Fault fault;
    fault.operation = "fileAttributes";
    fault.nth = 3;
    machine.inject(fault);
    EXPECT_EQ(locate(L"C:\\Apps\\zel\\zellauncher.exe").status, 0xFFFFFFFFU);
    EXPECT_EQ(lastLine(), "ZLNCH0049E: Unable to locate the platform's installation directory");
}

TEST_F(InstallDirectory, APathBeyond260CharactersIsNotUsed) {
    const std::wstring longPath = L"C:\\" + std::wstring(250, L'a') + L"\\zel\\zellauncher.exe";
    machine.writeFile(L"C:\\Apps\\zel\\zellauncher.exe", "");
    EXPECT_EQ(locate(L"C:\\Apps\\zel\\zellauncher.exe", longPath).status, 0U);
    EXPECT_EQ(found, L"C:\\Apps");
}

}  // namespace
