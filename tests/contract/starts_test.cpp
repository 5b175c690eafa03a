#include "contract/children.h"
#include "contract/contract.h"
#include "platform/child_processes.h"

namespace {

using contract::endOf;
using contract::isWine;
using contract::read;
using contract::startChild;
using contract::waitForEnd;
using contract::write;
using namespace platform;

// What it takes to start a program, and what a start that fails tells.
class Starts : public contract::Contract {};

TEST_F(Starts, AChildTakesATitleAndFlags) {
    onMachine([&] {
        StartInformation start;
        start.flags = startPreventPinning | startTitleIsAppId;
        start.title = L"my.id";
        ChildProcess child;
        ASSERT_TRUE(createProcess(contract::childCommand(0, 0), start, child)) << lastError();
        EXPECT_TRUE(waitForEnd(child.process));
    });
}

TEST_F(Starts, AChildStartsInTheDirectoryOfItsParent) {
    onMachine([&] {
        EXPECT_EQ(endOf(startChild(L"where" + quoted(L"f"))), 0U);
        const std::string there = read(in(L"f"));
        EXPECT_EQ(std::wstring(there.begin(), there.end()), fullPathName(L".", 1000));
    });
}

TEST_F(Starts, AProgramIsFoundWithoutItsEnding) {
    onMachine([&] {
        std::wstring command = contract::childCommand(6, 0);
        command.erase(command.find(L".exe"), 4);
        ChildProcess child;
        ASSERT_TRUE(createProcess(command, {}, child)) << lastError();
        closeHandle(child.thread);
        EXPECT_EQ(endOf(child.process), 6U);
    });
}

TEST_F(Starts, WhatCannotBeStartedIsToldApart) {
    onMachine([&] {
        ChildProcess child;
        EXPECT_FAILS(createProcess(L"\"" + in(L"gone.exe") + L"\" x", {}, child), errorFileNotFound);
        write(in(L"text.exe"), "no program");
        EXPECT_FAILS(createProcess(L"\"" + in(L"text.exe") + L"\"", {}, child), 193U);
        EXPECT_FALSE(createProcess(L"", {}, child));
        EXPECT_EQ(child.processId, 0U);
    });
}

TEST_F(Starts, AProgramInAMissingDirectoryIsAMissingPath) {
    onMachine([&] {
        ChildProcess child;
        // Wine does not tell a missing directory from a missing file.
        EXPECT_FAILS(createProcess(L"\"" + in(L"gone\\x.exe") + L"\"", {}, child),
                     isWine() ? errorFileNotFound : errorPathNotFound);
    });
}

TEST_F(Starts, ADirectoryIsNoProgram) {
    onMachine([&] {
        ChildProcess child;
        EXPECT_TRUE(createDirectory(in(L"d.exe")));
        EXPECT_FAILS(createProcess(L"\"" + in(L"d.exe") + L"\"", {}, child), errorAccessDenied);
    });
}

TEST_F(Starts, AFailedStartLeavesTheRecordAlone) {
    onMachine([&] {
        ChildProcess child;
        child.processId = 12;
        EXPECT_FAILS(createProcess(in(L"gone.exe"), {}, child), errorFileNotFound);
        EXPECT_EQ(child.processId, 12U);
        EXPECT_EQ(child.process, Handle::none);
        EXPECT_EQ(child.thread, Handle::none);
    });
}

}  // namespace
