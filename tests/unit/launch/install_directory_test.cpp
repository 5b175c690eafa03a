#include "launch/install_directory.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "simulation/machine.h"
#include "support/faults.h"
#include "support/text.h"

namespace {

using Lines = std::vector<std::string>;

constexpr const wchar_t* program = L"C:\\Apps\\zel\\zellauncher.exe";

// Each test starts a program with a path of its own, so OnMachine is not used.
class InstallDirectory : public ::testing::Test {
protected:
    simulation::Machine machine;
    simulation::ProcessEnd end;

    InstallDirectory() { machine.makeDirectory(L"C:\\Temp"); }

    // The install that a process of this program file finds.
    std::wstring locate(const std::wstring& module, const zellauncher::Arguments& arguments) {
        std::wstring found = L"(fatal)";
        end = machine.run({module}, [&] {
            found = zellauncher::locateInstallDir(arguments);
            return 0;
        });
        return found;
    }
    std::wstring locate(const std::wstring& module) { return locate(module, {module}); }
    // The log of a search that is fatal, without the empty first line.
    Lines fatalLog(const std::wstring& module, const zellauncher::Arguments& arguments) {
        EXPECT_EQ(locate(module, arguments), L"(fatal)");
        EXPECT_EQ(end.status, 0xFFFFFFFFU);
        Lines log = launchertest::splitLines(machine.readFile(L"C:\\Temp\\zellauncher.log").value_or(""));
        std::erase(log, "");
        return log;
    }
    Lines fatalLog(const std::wstring& module) { return fatalLog(module, {module}); }
};

const Lines noInstall = {"ZLNCH0049E: Unable to locate the platform's installation directory"};

TEST_F(InstallDirectory, InstallIsAboveTheDirectoryZel) {
    machine.writeFile(L"C:\\Apps\\framework\\zel\\zellauncher.exe", "");
    EXPECT_EQ(locate(L"C:\\Apps\\framework\\zel\\zellauncher.exe"), L"C:\\Apps\\framework");
}

TEST_F(InstallDirectory, InstallMayBeADriveRoot) {
    machine.writeFile(L"C:\\zel\\zellauncher.exe", "");
    EXPECT_EQ(locate(L"C:\\zel\\zellauncher.exe"), L"C:");
    // A path of the drive alone would be this directory.
    machine.setCurrentDirectory(L"C:\\removed");
    EXPECT_EQ(locate(L"C:\\zel\\zellauncher.exe"), L"C:");
}

TEST_F(InstallDirectory, RelativeProgramIsMadeFull) {
    machine.writeFile(program, "");
    machine.setCurrentDirectory(L"C:\\Apps");
    EXPECT_EQ(locate(program, {L"zel\\zellauncher.exe"}), L"C:\\Apps");
}

TEST_F(InstallDirectory, RunningModuleReplacesAnArgumentThatIsNoProgram) {
    machine.writeFile(program, "");
    EXPECT_EQ(locate(program, {L"zellauncher"}), L"C:\\Apps");
}

TEST_F(InstallDirectory, RunningModuleReplacesAMissingArgument) {
    machine.writeFile(program, "");
    EXPECT_EQ(locate(program, {}), L"C:\\Apps");
}

TEST_F(InstallDirectory, MissingProgramIsFatalWithTheLastCandidate) {
    EXPECT_EQ(fatalLog(L"C:\\gone\\zel\\zellauncher.exe", {L"D:\\else\\zellauncher.exe"}),
              (Lines{"ZLNCH0129E: Unable to locate C:\\gone\\zel\\zellauncher.exe"}));
}

// The directory disappears after the program was found.
TEST_F(InstallDirectory, MissingDirectoryOfTheProgramIsFatal) {
    machine.writeFile(program, "");
    machine.inject(launchertest::failing("fileAttributes", platform::errorAccessDenied, {}, 2));
    EXPECT_EQ(
        fatalLog(program),
        (Lines{"ZLNCH0048E: Unable to locate the directory containing C:\\Apps\\zel\\zellauncher.exe"}));
}

TEST_F(InstallDirectory, ProgramOutsideADirectoryZelIsFatal) {
    for (const std::wstring directory : {L"C:\\Apps\\bin", L"C:\\Apps\\ZEL", L"C:\\Apps\\xzel", L"C:"}) {
        machine.writeFile(directory + L"\\zellauncher.exe", "");
        EXPECT_EQ(fatalLog(directory + L"\\zellauncher.exe"), noInstall);
        machine.remove(directory + L"\\zellauncher.exe");
    }
}

// The install disappears after the program's directory was found.
TEST_F(InstallDirectory, MissingInstallIsFatal) {
    machine.writeFile(program, "");
    machine.inject(launchertest::failing("fileAttributes", platform::errorAccessDenied, {}, 3));
    EXPECT_EQ(fatalLog(program), noInstall);
}

TEST_F(InstallDirectory, PathBeyond260CharactersIsIgnored) {
    const std::wstring longPath = L"C:\\" + std::wstring(250, L'a') + L"\\zel\\zellauncher.exe";
    machine.writeFile(program, "");
    EXPECT_EQ(locate(program, {longPath}), L"C:\\Apps");
}

}  // namespace
