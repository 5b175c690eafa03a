#include "contract/children.h"
#include "contract/contract.h"
#include "platform/child_processes.h"
#include "platform/clock.h"
#include "platform/process.h"

namespace {

using contract::endOf;
using contract::Holder;
using contract::letGo;
using contract::read;
using contract::startChild;
using contract::startHolder;
using contract::write;
using namespace platform;

class Children : public contract::Contract {
protected:
    std::wstring quoted(const std::wstring& name) const { return L" \"" + in(name) + L"\""; }
};

TEST_F(Children, AnEndWith259LooksLikeARunningProcessToItsExitCodeAlone) {
    onMachine([&] {
        const Handle child = startChild(L"exit 259");
        for (int i = 0; i < 3000 && !hasProcessEnded(child); ++i) {
            sleepMilliseconds(10);
        }
        EXPECT_TRUE(hasProcessEnded(child));
        EXPECT_EQ(processExitCode(child), exitCodeStillActive);
        closeHandle(child);
    });
}

TEST_F(Children, AnExitCodeStaysForAsLongAsTheHandle) {
    onMachine([&] {
        ChildProcess child;
        ASSERT_TRUE(createProcess(contract::childCommand(3, 0), {}, child));
        for (int i = 0; i < 3000 && !hasProcessEnded(child.process); ++i) {
            sleepMilliseconds(10);
        }
        EXPECT_EQ(processExitCode(child.process), 3U);
        EXPECT_EQ(processExitCode(child.process), 3U);
        EXPECT_TRUE(hasProcessEnded(child.process));
        closeHandle(child.process);
        EXPECT_EQ(processExitCode(child.process), std::nullopt);
        closeHandle(child.thread);
    });
}

TEST_F(Children, AThreadHasNoExitCodeOfAProcess) {
    onMachine([&] {
        ChildProcess child;
        ASSERT_TRUE(createProcess(contract::childCommand(3, 0), {}, child));
        EXPECT_FAILS(processExitCode(child.thread).has_value(), errorInvalidHandle);
        closeHandle(child.thread);
        EXPECT_EQ(endOf(child.process), 3U);
    });
}

TEST_F(Children, LookingDoesNotWait) {
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

TEST_F(Children, AChildGoesOnWithoutItsHandles) {
    onMachine([&] {
        closeHandle(startChild(L"late" + quoted(L"f")));
        contract::waitForFile(in(L"f"));
        for (int i = 0; i < 3000 && read(in(L"f")).empty(); ++i) {
            sleepMilliseconds(10);
        }
        EXPECT_EQ(read(in(L"f")), "late");
    });
}

TEST_F(Children, AChildOutlivesItsParent) {
    onMachine([&] {
        EXPECT_EQ(endOf(startChild(L"orphan" + quoted(L"f"))), 0U);
        contract::waitForFile(in(L"f"));
        for (int i = 0; i < 3000 && read(in(L"f")).empty(); ++i) {
            sleepMilliseconds(10);
        }
        EXPECT_EQ(read(in(L"f")), "late");
    });
}

TEST_F(Children, TheNumberIsTheOneThatTheChildHasItself) {
    onMachine([&] {
        const std::wstring command = contract::childCommand(0, 0);
        const std::wstring program = command.substr(0, command.find(L'"', 1) + 1);
        ChildProcess child;
        ASSERT_TRUE(createProcess(program + L" --as number" + quoted(L"f"), {}, child));
        closeHandle(child.thread);
        EXPECT_EQ(endOf(child.process), 0U);
        EXPECT_EQ(read(in(L"f")), std::to_string(child.processId));
    });
}

TEST_F(Children, AChildDoesNotInheritOpenFiles) {
    onMachine([&] {
        write(in(L"f"), "x");
        Stream* stream = openStream(in(L"f"), "r+");
        const Handle file = createFile(in(L"g"), accessWrite, 0, openFileAlways, attributeNormal);
        const Holder child = startHolder(scratch, L"semaphore", L"Global\\zl-contract-files");
        EXPECT_TRUE(closeStream(stream));
        closeHandle(file);
        EXPECT_TRUE(deleteFile(in(L"f"))) << lastError();
        EXPECT_TRUE(deleteFile(in(L"g"))) << lastError();
        letGo(child);
    });
}

TEST_F(Children, AChildDoesNotInheritALock) {
    onMachine([&] {
        write(in(L"f"), "x");
        Stream* stream = openStream(in(L"f"), "r+");
        EXPECT_TRUE(lockStream(stream, 100));
        const Holder child = startHolder(scratch, L"semaphore", L"Global\\zl-contract-lock");
        EXPECT_TRUE(closeStream(stream));
        stream = openStream(in(L"f"), "r+");
        EXPECT_TRUE(lockStream(stream, 100)) << lastError();
        EXPECT_TRUE(closeStream(stream));
        letGo(child);
    });
}

TEST_F(Children, AProgramIsFoundWithoutItsEnding) {
    onMachine([&] {
        std::wstring command = contract::childCommand(6, 0);
        command.erase(command.find(L".exe"), 4);
        ChildProcess child;
        ASSERT_TRUE(createProcess(command, {}, child)) << lastError();
        closeHandle(child.thread);
        EXPECT_EQ(endOf(child.process), 6U);
    });
}

TEST_F(Children, TwoQuotesWithinAWordAreOneAndEndTheQuoting) {
    onMachine([&] {
        EXPECT_EQ(endOf(startChild(L"words" + quoted(L"f") + L" \"a\"\"b c\" d")), 0U);
        EXPECT_EQ(read(in(L"f")), "a\"b\nc d\n");
    });
}

TEST_F(Children, AQuoteThatIsNeverClosedEndsWithTheLine) {
    onMachine([&] {
        EXPECT_EQ(endOf(startChild(L"words" + quoted(L"f") + L" a \"b c")), 0U);
        EXPECT_EQ(read(in(L"f")), "a\nb c\n");
    });
}

TEST_F(Children, ALineFeedSeparatesNoWords) {
    onMachine([&] {
        EXPECT_EQ(endOf(startChild(L"words" + quoted(L"f") + L" a\nb \"c\nd\"")), 0U);
        EXPECT_EQ(read(in(L"f")), "a\nb\nc\nd\n");
        EXPECT_EQ(endOf(startChild(L"words" + quoted(L"f") + L" a\rb")), 0U);
        EXPECT_EQ(read(in(L"f")), "a\rb\n");
    });
}

TEST_F(Children, AListDoesNotGrow) {
    onMachine([&] {
        const Handle snapshot = processSnapshot();
        ChildProcess child;
        ASSERT_TRUE(createProcess(contract::childCommand(0, 500), {}, child));
        ProcessEntry entry;
        for (bool more = firstProcess(snapshot, entry); more; more = nextProcess(snapshot, entry)) {
            EXPECT_NE(entry.processId, child.processId);
        }
        closeHandle(snapshot);
        closeHandle(child.thread);
        EXPECT_EQ(endOf(child.process), 0U);
    });
}

TEST_F(Children, WhatIsNoListHasNoEntries) {
    onMachine([&] {
        ProcessEntry entry;
        EXPECT_FAILS(firstProcess(Handle::none, entry), errorInvalidHandle);
        EXPECT_FAILS(nextProcess(Handle::none, entry), errorInvalidHandle);
    });
}

}  // namespace
