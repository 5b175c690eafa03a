#include "contract/children.h"
#include "contract/contract.h"
#include "platform/child_processes.h"
#include "platform/clock.h"
#include "platform/own_process.h"

// Child processes from start to end, and their exit codes.
namespace contract {
namespace {

using namespace platform;

class Processes : public Contract {
protected:
    // The content of the file once a child `late` has written it.
    static std::string lateText(const std::wstring& path) {
        waitForFile(path);
        for (int i = 0; i < 3000 && read(path).empty(); ++i) {
            sleepMilliseconds(10);
        }
        return read(path);
    }
};

TEST_F(Processes, ChildRunsAndEndsWithItsExitCode) {
    onMachine([&] {
        const std::wstring stay = L"stay 7" + quoted(L"ready") + quoted(L"release");
        const std::optional<ChildProcess> child = createProcess(childCommand(stay), {});
        ASSERT_TRUE(child) << lastError();
        EXPECT_NE(child->processId, 0U);
        EXPECT_FALSE(hasProcessEnded(child->process));
        EXPECT_EQ(processExitCode(child->process), exitCodeStillActive);
        write(in(L"release"), "");
        EXPECT_TRUE(waitForEnd(child->process));
        EXPECT_EQ(processExitCode(child->process), 7U);
        closeHandle(child->process);
        closeHandle(child->thread);
    });
}

TEST_F(Processes, ExitCodeHas32Bits) {
    onMachine([&] {
        EXPECT_EQ(runChild(L"exit 0"), 0U);
        EXPECT_EQ(runChild(L"exit 65537"), 65537U);
        EXPECT_EQ(runChild(L"exit -1"), 0xFFFFFFFFU);
    });
}

TEST_F(Processes, ExitCodeCanBeReadUntilTheHandleIsClosed) {
    onMachine([&] {
        const ChildProcess child = startChild(L"exit 3");
        waitForEnd(child.process);
        EXPECT_EQ(processExitCode(child.process), 3U);
        EXPECT_EQ(processExitCode(child.process), 3U);
        EXPECT_TRUE(hasProcessEnded(child.process));
        closeHandle(child.process);
        EXPECT_EQ(processExitCode(child.process), std::nullopt);
    });
}

TEST_F(Processes, ExitCode259LooksLikeARunningProcess) {
    onMachine([&] {
        const Handle child = startChild(L"exit 259").process;
        EXPECT_TRUE(waitForEnd(child));
        EXPECT_EQ(processExitCode(child), exitCodeStillActive);
        closeHandle(child);
    });
}

TEST_F(Processes, ThreadHandleHasNoProcessExitCode) {
    onMachine([&] {
        const std::optional<ChildProcess> child = createProcess(childCommand(L"exit 3"), {});
        ASSERT_TRUE(child) << lastError();
        EXPECT_FAILS(processExitCode(child->thread), errorInvalidHandle);
        closeHandle(child->thread);
        EXPECT_EQ(waitForExitCode(child->process), 3U);
    });
}

TEST_F(Processes, InvalidHandleHasNoExitCode) {
    onMachine([&] {
        EXPECT_EQ(processExitCode(Handle::none), std::nullopt);
        EXPECT_FALSE(hasProcessEnded(Handle::none));
    });
}

// A query that waited would find the child ended, because it gives up after a while.
TEST_F(Processes, QueriesDoNotWait) {
    onMachine([&] {
        const Holder child = startHolder(scratch, L"stay", L"0");
        EXPECT_FALSE(hasProcessEnded(child.process));
        EXPECT_EQ(processExitCode(child.process), exitCodeStillActive);
        release(child);
    });
}

TEST_F(Processes, ChildrenHaveTheirOwnIdsAndExitCodes) {
    onMachine([&] {
        const ChildProcess first = startChild(L"exit 1");
        const ChildProcess second = startChild(L"exit 2");
        EXPECT_NE(first.processId, second.processId);
        EXPECT_NE(first.processId, currentProcessId());
        EXPECT_EQ(waitForExitCode(second.process), 2U);
        EXPECT_EQ(waitForExitCode(first.process), 1U);
    });
}

TEST_F(Processes, ParentAndChildSeeTheSameProcessId) {
    onMachine([&] {
        const ChildProcess child = startChild(L"id" + quoted(L"f"));
        EXPECT_EQ(waitForExitCode(child.process), 0U);
        EXPECT_EQ(read(in(L"f")), std::to_string(child.processId));
    });
}

TEST_F(Processes, OpenedProcessHasAnExitCode) {
    onMachine([&] {
        const Holder child = startHolder(scratch, L"stay", L"24");
        const Handle process = openProcess(child.processId);
        ASSERT_NE(process, Handle::none);
        EXPECT_EQ(processExitCode(process), exitCodeStillActive);
        release(child, 24);
        EXPECT_EQ(processExitCode(process), 24U);
        closeHandle(process);
    });
}

TEST_F(Processes, EndedProcessCanBeOpenedWhileAHandleIsOpen) {
    onMachine([&] {
        const ChildProcess child = startChild(L"exit 5");
        EXPECT_TRUE(waitForEnd(child.process));
        const Handle process = openProcess(child.processId);
        ASSERT_NE(process, Handle::none) << lastError();
        EXPECT_EQ(processExitCode(process), 5U);
        closeHandle(process);
        closeHandle(child.process);
    });
}

TEST_F(Processes, EndedProcessIsUnknownAfterItsLastHandle) {
    onMachine([&] {
        const ChildProcess child = startChild(L"exit 5");
        EXPECT_EQ(waitForExitCode(child.process), 5U);
        Handle process = openProcess(child.processId);
        for (int i = 0; i < 3000 && processExitCode(process) == 5U; ++i) {
            closeHandle(process);
            sleepMilliseconds(10);  // the system or a scanner takes a moment to forget it
            process = openProcess(child.processId);
        }
        EXPECT_NE(processExitCode(process), 5U);  // another process may have the process id by now
        closeHandle(process);
    });
}

TEST_F(Processes, ProcessIdDoesNotComeAgainWhileAHandleIsOpen) {
    onMachine([&] {
        const ChildProcess held = startChild(L"exit 5");
        EXPECT_TRUE(waitForEnd(held.process));
        for (int i = 0; i < 5; ++i) {
            const ChildProcess other = startChild(L"exit 0");
            EXPECT_NE(other.processId, held.processId);
            EXPECT_EQ(waitForExitCode(other.process), 0U);
        }
        closeHandle(held.process);
    });
}

TEST_F(Processes, UnusedProcessIdCannotBeOpened) {
    onMachine([&] {
        EXPECT_FAILS(openProcess(0x7FFFFFF0), errorInvalidParameter);
        EXPECT_EQ(processExitCode(Handle::none), std::nullopt);
    });
}

// The child gives up within the time that the function may wait.
TEST_F(Processes, WaitForInputIdleIgnoresProgramsWithoutWindows) {
    onMachine([&] {
        const Holder child = startHolder(scratch, L"stay", L"0");
        waitForInputIdle(child.process, 60000);
        waitForInputIdle(Handle::none, 60000);
        EXPECT_FALSE(hasProcessEnded(child.process));
        release(child);
    });
}

TEST_F(Processes, NormalEndFlushesStreams) {
    onMachine([&] {
        EXPECT_EQ(runChild(L"leave 5" + quoted(L"f")), 5U);
        EXPECT_EQ(read(in(L"f")), "unflushed");
    });
}

TEST_F(Processes, AccessViolationLosesBufferedData) {
    onMachine([&] {
        EXPECT_EQ(runChild(L"fault" + quoted(L"f")), 0xC0000005U);
        EXPECT_EQ(read(in(L"f")), "");
    });
}

TEST_F(Processes, ChildRunsOnAfterItsHandlesAreClosed) {
    onMachine([&] {
        closeHandle(startChild(L"late" + quoted(L"f")).process);
        EXPECT_EQ(lateText(in(L"f")), "late");
    });
}

TEST_F(Processes, ChildOutlivesItsParent) {
    onMachine([&] {
        EXPECT_EQ(runChild(L"orphan" + quoted(L"f")), 0U);
        EXPECT_EQ(lateText(in(L"f")), "late");
    });
}

}  // namespace
}  // namespace contract
