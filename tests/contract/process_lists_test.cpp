#include "contract/children.h"
#include "contract/contract.h"
#include "platform/child_processes.h"
#include "platform/clock.h"
#include "platform/process.h"

namespace {

using contract::endOf;
using contract::found;
using namespace platform;

// The list of the processes of the machine.
class ProcessLists : public contract::Contract {};

TEST_F(ProcessLists, TheProcessListHoldsThisProcess) {
    onMachine([&] {
        const Handle snapshot = processSnapshot();
        ASSERT_NE(snapshot, Handle::none);
        bool isListed = false;
        ProcessEntry entry;
        for (bool more = firstProcess(snapshot, entry); more; more = nextProcess(snapshot, entry)) {
            isListed = isListed ||
                       (entry.processId == currentProcessId() && entry.executableName == L"contract.exe");
        }
        EXPECT_TRUE(isListed);
        closeHandle(snapshot);
    });
}

TEST_F(ProcessLists, AListHoldsARunningChildAndNoEndedOne) {
    onMachine([&] {
        const auto isListed = [](std::uint32_t id) {
            const Handle snapshot = processSnapshot();
            bool found = false;
            ProcessEntry entry;
            for (bool more = firstProcess(snapshot, entry); more; more = nextProcess(snapshot, entry)) {
                found = found || entry.processId == id;
            }
            closeHandle(snapshot);
            return found;
        };
        ChildProcess child;
        ASSERT_TRUE(createProcess(contract::childCommand(0, 300), {}, child));
        EXPECT_TRUE(isListed(child.processId));
        closeHandle(child.thread);
        EXPECT_EQ(endOf(child.process), 0U);
        for (int i = 0; i < 200 && isListed(child.processId); ++i) {
            sleepMilliseconds(10);  // the system takes a moment to forget it
        }
        EXPECT_FALSE(isListed(child.processId));
    });
}

TEST_F(ProcessLists, AProcessListBeginsAnewAndEnds) {
    onMachine([&] {
        const Handle snapshot = processSnapshot();
        ProcessEntry head;
        ProcessEntry again;
        ASSERT_TRUE(firstProcess(snapshot, head));
        ProcessEntry entry;
        while (nextProcess(snapshot, entry)) {
            EXPECT_EQ(entry.executableName.find(L'\\'), std::wstring::npos);
        }
        EXPECT_FAILS(nextProcess(snapshot, entry), errorNoMoreFiles);
        EXPECT_TRUE(firstProcess(snapshot, again));
        EXPECT_EQ(again.processId, head.processId);
        closeHandle(snapshot);
    });
}

TEST_F(ProcessLists, AListDoesNotGrow) {
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

TEST_F(ProcessLists, WhatIsNoListHasNoEntries) {
    onMachine([&] {
        ProcessEntry entry;
        EXPECT_FAILS(firstProcess(Handle::none, entry), errorInvalidHandle);
        EXPECT_FAILS(nextProcess(Handle::none, entry), errorInvalidHandle);
    });
}

}  // namespace
