#include <algorithm>

#include "contract/children.h"
#include "contract/contract.h"
#include "platform/child_processes.h"
#include "platform/clock.h"
#include "platform/own_process.h"

// Snapshots of the system's process list.
namespace contract {
namespace {

using namespace platform;

class ProcessLists : public Contract {
protected:
    static std::vector<ProcessEntry> entriesOf(Handle snapshot) {
        std::vector<ProcessEntry> entries;
        for (auto entry = firstProcess(snapshot); entry; entry = nextProcess(snapshot)) {
            entries.push_back(*entry);
        }
        return entries;
    }
    static bool contains(const std::vector<ProcessEntry>& entries, std::uint32_t processId) {
        return std::any_of(entries.begin(), entries.end(),
                           [&](const ProcessEntry& entry) { return entry.processId == processId; });
    }
    // Whether a new snapshot has an entry with this process id.
    static bool isListedNow(std::uint32_t processId) {
        const Handle snapshot = processSnapshot();
        const bool isListed = contains(entriesOf(snapshot), processId);
        closeHandle(snapshot);
        return isListed;
    }
};

TEST_F(ProcessLists, ListContainsTheOwnProcess) {
    onMachine([&] {
        const Handle snapshot = processSnapshot();
        ASSERT_NE(snapshot, Handle::none);
        const std::vector<ProcessEntry> entries = entriesOf(snapshot);
        EXPECT_TRUE(std::any_of(entries.begin(), entries.end(), [](const ProcessEntry& entry) {
            return entry.processId == currentProcessId() && entry.executableName == L"contract.exe";
        }));
        closeHandle(snapshot);
    });
}

TEST_F(ProcessLists, ListContainsAChildUntilItEnds) {
    onMachine([&] {
        const Holder child = startHolder(scratch, L"stay", L"0");
        EXPECT_TRUE(isListedNow(child.processId));
        release(child);
        for (int i = 0; i < 200 && isListedNow(child.processId); ++i) {
            sleepMilliseconds(10);  // the system takes a moment to forget it
        }
        EXPECT_FALSE(isListedNow(child.processId));
    });
}

TEST_F(ProcessLists, ListEndsAndCanBeReadAgain) {
    onMachine([&] {
        const Handle snapshot = processSnapshot();
        const std::optional<ProcessEntry> first = firstProcess(snapshot);
        ASSERT_TRUE(first);
        while (const auto entry = nextProcess(snapshot)) {
            EXPECT_EQ(entry->executableName.find(L'\\'), std::wstring::npos);
        }
        EXPECT_FAILS(nextProcess(snapshot), errorNoMoreFiles);
        const std::optional<ProcessEntry> again = firstProcess(snapshot);
        ASSERT_TRUE(again);
        EXPECT_EQ(again->processId, first->processId);
        closeHandle(snapshot);
    });
}

TEST_F(ProcessLists, LaterProcessesAreNotInTheList) {
    onMachine([&] {
        const Handle snapshot = processSnapshot();
        const Holder child = startHolder(scratch, L"stay", L"0");
        EXPECT_FALSE(contains(entriesOf(snapshot), child.processId));
        closeHandle(snapshot);
        release(child);
    });
}

TEST_F(ProcessLists, InvalidSnapshotHasNoEntries) {
    onMachine([&] {
        EXPECT_FAILS(firstProcess(Handle::none), errorInvalidHandle);
        EXPECT_FAILS(nextProcess(Handle::none), errorInvalidHandle);
    });
}

}  // namespace
}  // namespace contract
