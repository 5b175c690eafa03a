#include "configuration/own_program.h"

#include <gtest/gtest.h>

#include "support/faults.h"
#include "support/launcher_fixture.h"
#include "support/text.h"

namespace {

constexpr const wchar_t* module = L"C:\\Apps\\framework\\Client\\zel\\zellauncher.exe";

class OwnProgram : public launchertest::OnMachine {
protected:
    zellauncher::OwnProgram find(const std::wstring& programArgument) {
        zellauncher::OwnProgram program;
        run([&] { program = zellauncher::findOwnProgram(programArgument); });
        return program;
    }
    zellauncher::OwnProgram findWithoutModule(const std::wstring& programArgument) {
        zellauncher::OwnProgram program{{}, true};
        run([&] {
            machine.remove(module);
            program = zellauncher::findOwnProgram(programArgument);
        });
        return program;
    }
    std::wstring locate(const std::wstring& programArgument) {
        std::wstring path;
        run([&] { path = zellauncher::locateProgram(programArgument); });
        return path;
    }
};

TEST_F(OwnProgram, IsTheFileThatArgumentZeroNames) {
    machine.writeFile(L"C:\\other.EXE", "");
    const zellauncher::OwnProgram program = find(L"other.EXE");
    EXPECT_TRUE(program.isFound);
    EXPECT_EQ(program.path, L"C:\\other.EXE");
}

TEST_F(OwnProgram, IsOtherwiseTheRunningModule) {
    machine.writeFile(L"C:\\other.txt", "");
    for (const std::wstring& argument :
         {std::wstring(), std::wstring(L"gone.exe"), std::wstring(L"other.txt"),
          L"C:\\" + std::wstring(300, L'x') + L".exe"}) {
        const zellauncher::OwnProgram program = find(argument);
        EXPECT_TRUE(program.isFound) << launchertest::toUtf8(argument);
        EXPECT_EQ(program.path, module);
    }
}

TEST_F(OwnProgram, LastCandidateIsReportedIfNoneIsFound) {
    zellauncher::OwnProgram program = findWithoutModule(L"gone.exe");
    EXPECT_FALSE(program.isFound);
    EXPECT_EQ(program.path, module);
    machine.inject(launchertest::failing("moduleFileName", platform::errorAccessDenied));
    program = findWithoutModule(L"gone.exe");
    EXPECT_FALSE(program.isFound);
    EXPECT_EQ(program.path, L"C:\\gone.exe");
}

// The current directory is the root of C:.
TEST_F(OwnProgram, FullPathMayHave259Characters) {
    const std::wstring name(256, L'x');
    for (const auto& [argument, reported] : {std::pair(name, L"C:\\" + name), {name + L"x", name + L"x"}}) {
        machine.inject(launchertest::failing("moduleFileName", platform::errorAccessDenied));
        EXPECT_EQ(findWithoutModule(argument).path, reported) << argument.size();
    }
}

TEST_F(OwnProgram, LocatedProgramIsTheModuleOrTheArgument) {
    EXPECT_EQ(locate(L"zel\\zellauncher.exe"), module);  // below C:\, the argument names no file
    machine.writeFile(L"C:\\other.exe", "");
    EXPECT_EQ(locate(L"other.exe"), L"C:\\other.exe");
}

TEST_F(OwnProgram, MissingProgramIsFatal) {
    const auto outcome = run([&] {
        machine.remove(L"C:\\Apps");
        zellauncher::locateProgram(L"gone.exe");
    });
    outcome.expectFatal("ZLNCH0047E: Unable to locate C:\\Apps\\framework\\Client\\zel\\zellauncher.exe");
}

}  // namespace
