#include "foundation/own_program.h"

#include <gtest/gtest.h>

#include "support/launcher_fixture.h"

namespace {

constexpr const wchar_t* module = L"C:\\Apps\\framework\\Client\\zel\\zellauncher.exe";

class OwnProgram : public launchertest::OnMachine {
protected:
    std::wstring path;

    bool find(const std::wstring& wordZero) {
        bool isFound = false;
        run([&] { isFound = zellauncher::findOwnProgram(path, wordZero); });
        return isFound;
    }
};

TEST_F(OwnProgram, IsWhatWordZeroNames) {
    machine.writeFile(L"C:\\other.EXE", "");
    EXPECT_TRUE(find(L"other.EXE"));
    EXPECT_EQ(path, L"C:\\other.EXE");
}

TEST_F(OwnProgram, IsElseTheRunningModule) {
    machine.writeFile(L"C:\\other.txt", "");
    for (const std::wstring& word : {std::wstring(), std::wstring(L"gone.exe"), std::wstring(L"other.txt"),
                                     L"C:\\" + std::wstring(300, L'x') + L".exe"}) {
        EXPECT_TRUE(find(word));
        EXPECT_EQ(path, module);
    }
}

TEST_F(OwnProgram, WhatWasTriedLastIsTold) {
    bool isFound = true;
    run([&] {
        machine.remove(module);
        isFound = zellauncher::findOwnProgram(path, L"gone.exe");
    });
    EXPECT_FALSE(isFound);
    EXPECT_EQ(path, module);
    simulation::Fault fault;
    fault.operation = "moduleFileName";
    machine.inject(fault);
    run([&] {
        machine.remove(module);
        isFound = zellauncher::findOwnProgram(path, L"gone.exe");
    });
    EXPECT_FALSE(isFound);
    EXPECT_EQ(path, L"C:\\gone.exe");
}

}  // namespace
