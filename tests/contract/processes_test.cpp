#include "contract/children.h"
#include "contract/contract.h"
#include "platform/child_processes.h"
#include "platform/clock.h"
#include "platform/process.h"

namespace {

using contract::endOf;
using contract::read;
using contract::startChild;
using contract::waitForEnd;
using namespace platform;

// Processes from their start to their end, and what is left of them.
class Processes : public contract::Contract {
protected:
    // What a child of the kind `late` writes to this file, once it has written it.
    static std::string lateText(const std::wstring& path) {
        contract::waitForFile(path);
        for (int i = 0; i < 3000 && read(path).empty(); ++i) {
            sleepMilliseconds(10);
        }
        return read(path);
    }
};

TEST_F(Processes, AChildRunsAndLeavesItsCode) {
    onMachine([&] {
        ChildProcess child;
        ASSERT_TRUE(createProcess(contract::childCommand(7, 400), {}, child)) << lastError();
        EXPECT_NE(child.processId, 0U);
        EXPECT_FALSE(hasProcessEnded(child.process));
        EXPECT_EQ(processExitCode(child.process), exitCodeStillActive);
        EXPECT_TRUE(waitForEnd(child.process));
        EXPECT_EQ(processExitCode(child.process), 7U);
        closeHandle(child.process);
        closeHandle(child.thread);
    });
}

TEST_F(Processes, AnExitCodeHasAll32Bits) {
    onMachine([&] {
        EXPECT_EQ(endOf(startChild(L"exit 0")), 0U);
        EXPECT_EQ(endOf(startChild(L"exit 65537")), 65537U);
        EXPECT_EQ(endOf(startChild(L"exit -1")), 0xFFFFFFFFU);
    });
}

TEST_F(Processes, AnExitCodeStaysForAsLongAsTheHandle) {
    onMachine([&] {
        ChildProcess child;
        ASSERT_TRUE(createProcess(contract::childCommand(3, 0), {}, child));
        waitForEnd(child.process);
        EXPECT_EQ(processExitCode(child.process), 3U);
        EXPECT_EQ(processExitCode(child.process), 3U);
        EXPECT_TRUE(hasProcessEnded(child.process));
        closeHandle(child.process);
        EXPECT_EQ(processExitCode(child.process), std::nullopt);
        closeHandle(child.thread);
    });
}

TEST_F(Processes, AnEndWith259LooksLikeARunningProcessToItsExitCodeAlone) {
    onMachine([&] {
        const Handle child = startChild(L"exit 259");
        EXPECT_TRUE(waitForEnd(child));
        EXPECT_EQ(processExitCode(child), exitCodeStillActive);
        closeHandle(child);
    });
}

TEST_F(Processes, AThreadHasNoExitCodeOfAProcess) {
    onMachine([&] {
        ChildProcess child;
        ASSERT_TRUE(createProcess(contract::childCommand(3, 0), {}, child));
        EXPECT_FAILS(processExitCode(child.thread).has_value(), errorInvalidHandle);
        closeHandle(child.thread);
        EXPECT_EQ(endOf(child.process), 3U);
    });
}

TEST_F(Processes, WhatIsNoProcessHasNoExitCode) {
    onMachine([&] {
        EXPECT_EQ(processExitCode(Handle::none), std::nullopt);
        EXPECT_FALSE(hasProcessEnded(Handle::none));
    });
}

TEST_F(Processes, LookingDoesNotWait) {
    onMachine([&] {
        ChildProcess child;
        ASSERT_TRUE(createProcess(contract::childCommand(0, 3000), {}, child));
        const std::uint32_t before = tickCount();
        EXPECT_FALSE(hasProcessEnded(child.process));
        EXPECT_EQ(processExitCode(child.process), exitCodeStillActive);
        EXPECT_LT(tickCount() - before, 2000U);
        closeHandle(child.thread);
        EXPECT_EQ(endOf(child.process), 0U);
    });
}

TEST_F(Processes, TwoChildrenAreTwoProcesses) {
    onMachine([&] {
        ChildProcess first;
        ChildProcess second;
        ASSERT_TRUE(createProcess(contract::childCommand(1, 0), {}, first));
        ASSERT_TRUE(createProcess(contract::childCommand(2, 0), {}, second));
        EXPECT_NE(first.processId, second.processId);
        EXPECT_NE(first.processId, currentProcessId());
        EXPECT_EQ(endOf(second.process), 2U);
        EXPECT_EQ(endOf(first.process), 1U);
    });
}

TEST_F(Processes, TheNumberIsTheOneThatTheChildHasItself) {
    onMachine([&] {
        ChildProcess child;
        ASSERT_TRUE(createProcess(contract::childProgram() + L" --as number" + quoted(L"f"), {}, child));
        closeHandle(child.thread);
        EXPECT_EQ(endOf(child.process), 0U);
        EXPECT_EQ(read(in(L"f")), std::to_string(child.processId));
    });
}

TEST_F(Processes, AProcessCanBeOpenedByItsNumberForItsExitCode) {
    onMachine([&] {
        ChildProcess child;
        ASSERT_TRUE(createProcess(contract::childCommand(24, 1500), {}, child));
        const Handle process = openProcess(child.processId);
        ASSERT_NE(process, Handle::none);
        EXPECT_EQ(processExitCode(process), exitCodeStillActive);
        for (int i = 0; i < 100 && processExitCode(process) == exitCodeStillActive; ++i) {
            sleepMilliseconds(100);
        }
        EXPECT_EQ(processExitCode(process), 24U);
        closeHandle(process);
    });
}

TEST_F(Processes, ANumberThatNobodyHasCannotBeOpened) {
    onMachine([&] {
        EXPECT_EQ(openProcess(0x7FFFFFF0), Handle::none);
        EXPECT_EQ(lastError(), errorInvalidParameter);
        EXPECT_EQ(processExitCode(Handle::none), std::nullopt);
    });
}

TEST_F(Processes, AProgramWithoutWindowsIsNotWaitedFor) {
    onMachine([&] {
        ChildProcess child;
        ASSERT_TRUE(createProcess(contract::childCommand(0, 3000), {}, child));
        const std::uint32_t before = tickCount();
        waitForInputIdle(child.process, 1000);
        waitForInputIdle(Handle::none, 1000);
        EXPECT_LT(tickCount() - before, 2500U);
        EXPECT_FALSE(hasProcessEnded(child.process));
    });
}

TEST_F(Processes, TheNormalEndWritesOutTheBuffers) {
    onMachine([&] {
        EXPECT_EQ(endOf(startChild(L"leave 5" + quoted(L"f"))), 5U);
        EXPECT_EQ(read(in(L"f")), "unflushed");
    });
}

TEST_F(Processes, AnAccessViolationLosesTheBuffers) {
    onMachine([&] {
        EXPECT_EQ(endOf(startChild(L"fault" + quoted(L"f"))), 0xC0000005U);
        EXPECT_EQ(read(in(L"f")), "");
    });
}

TEST_F(Processes, AChildGoesOnWithoutItsHandles) {
    onMachine([&] {
        closeHandle(startChild(L"late" + quoted(L"f")));
        EXPECT_EQ(lateText(in(L"f")), "late");
    });
}

TEST_F(Processes, AChildOutlivesItsParent) {
    onMachine([&] {
        EXPECT_EQ(endOf(startChild(L"orphan" + quoted(L"f"))), 0U);
        EXPECT_EQ(lateText(in(L"f")), "late");
    });
}

}  // namespace
