#include <gtest/gtest.h>

#include <stdexcept>

#include "simulation/machine.h"

namespace {

using simulation::Machine;

TEST(MachinePath, DriveMustExist) {
    Machine machine;
    machine.removeDrive(L'D');
    EXPECT_THROW(machine.writeFile(L"D:\\file", ""), std::invalid_argument);
    EXPECT_THROW(machine.makeDirectory(L"D:\\"), std::invalid_argument);
    machine.makeDrive(L'd');
    machine.writeFile(L"D:\\file", "text");
    EXPECT_EQ(machine.readFile(L"D:\\file"), "text");
}

TEST(MachinePath, ImpossibleNameIsRefused) {
    Machine machine;
    const std::wstring names[] = {std::wstring(256, L'n'), L"a\x01", L"a<", L"a:b", L"a|"};
    for (const std::wstring& name : names) {
        EXPECT_THROW(machine.writeFile(L"C:\\" + name + L"\\file", ""), std::invalid_argument);
    }
    EXPECT_THROW(machine.writeFile(L"\\\\server\\share\\file", ""), std::invalid_argument);
    EXPECT_THROW(machine.writeFile(L"", ""), std::invalid_argument);
    machine.writeFile(L"C:\\" + std::wstring(255, L'n'), "text");
    EXPECT_EQ(machine.readFile(L"C:\\" + std::wstring(255, L'n')), "text");
}

TEST(MachinePath, FileIsNoDirectory) {
    Machine machine;
    machine.writeFile(L"C:\\file", "text");
    machine.makeDirectory(L"C:\\directory");
    EXPECT_THROW(machine.writeFile(L"C:\\file\\below", ""), std::invalid_argument);
    EXPECT_THROW(machine.writeFile(L"C:\\directory", ""), std::invalid_argument);
    EXPECT_EQ(machine.readFile(L"C:\\file"), "text");
}

TEST(MachinePath, OwnShareIsTheDrive) {
    Machine machine;
    machine.writeFile(L"\\\\localhost\\C$\\file", "text");
    EXPECT_EQ(machine.readFile(L"C:\\file"), "text");
}

}  // namespace
