#include "contract/children.h"
#include "contract/contract.h"
#include "platform/child_processes.h"
#include "platform/clock.h"
#include "platform/environment.h"
#include "platform/process.h"

namespace {

using contract::endOf;
using contract::read;
using contract::startChild;
using contract::write;
using namespace platform;

class Processes : public contract::Contract {
protected:
    // The words that a child gets from this end of a command line, one a line.
    std::string wordsFrom(const std::wstring& tail) const {
        EXPECT_EQ(endOf(startChild(L"words \"" + in(L"words") + L"\" " + tail)), 0U);
        return read(in(L"words"));
    }
};

TEST_F(Processes, AnExitCodeHasAll32Bits) {
    onMachine([&] {
        EXPECT_EQ(endOf(startChild(L"exit 0")), 0U);
        EXPECT_EQ(endOf(startChild(L"exit 65537")), 65537U);
        EXPECT_EQ(endOf(startChild(L"exit -1")), 0xFFFFFFFFU);
    });
}

TEST_F(Processes, QuotesHoldAWordTogether) {
    onMachine([&] { EXPECT_EQ(wordsFrom(L"a \"b c\" d\"e f\"g \"\" h"), "a\nb c\nde fg\n\nh\n"); });
}

TEST_F(Processes, BlanksAndTabsBetweenWordsCountOnce) {
    onMachine([&] { EXPECT_EQ(wordsFrom(L"  a \t b   "), "a\nb\n"); });
}

TEST_F(Processes, BackslashesCountAsThemselvesAwayFromQuotes) {
    onMachine([&] { EXPECT_EQ(wordsFrom(L"C:\\a\\\\b c\\ \"d\\e\""), "C:\\a\\\\b\nc\\\nd\\e\n"); });
}

TEST_F(Processes, ABackslashMakesAQuoteACharacter) {
    onMachine([&] { EXPECT_EQ(wordsFrom(L"a\\\"b \"c \\\" d\""), "a\"b\nc \" d\n"); });
}

TEST_F(Processes, TwoBackslashesBeforeAQuoteAreOne) {
    onMachine([&] { EXPECT_EQ(wordsFrom(L"\"a b\\\\\" c \\\\\\\"d"), "a b\\\nc\n\\\"d\n"); });
}

TEST_F(Processes, AChildInheritsTheEnvironment) {
    onMachine([&] {
        EXPECT_EQ(putEnvironmentText(L"ZL_CONTRACT_CHILD=for you"), 0);
        EXPECT_EQ(endOf(startChild(L"variable zl_contract_child \"" + in(L"f") + L"\"")), 0U);
        EXPECT_EQ(read(in(L"f")), "for you");
        EXPECT_EQ(putEnvironmentText(L"ZL_CONTRACT_CHILD="), 0);
        EXPECT_EQ(endOf(startChild(L"variable ZL_CONTRACT_CHILD \"" + in(L"f") + L"\"")), 0U);
        EXPECT_EQ(read(in(L"f")), "(not set)");
    });
}

TEST_F(Processes, AChildStartsInTheDirectoryOfItsParent) {
    onMachine([&] {
        EXPECT_EQ(endOf(startChild(L"where \"" + in(L"f") + L"\"")), 0U);
        const std::string there = read(in(L"f"));
        EXPECT_EQ(std::wstring(there.begin(), there.end()), fullPathName(L".", 1000));
    });
}

TEST_F(Processes, TheNormalEndWritesOutTheBuffers) {
    onMachine([&] {
        EXPECT_EQ(endOf(startChild(L"leave 5 \"" + in(L"f") + L"\"")), 5U);
        EXPECT_EQ(read(in(L"f")), "unflushed");
    });
}

TEST_F(Processes, AnAccessViolationLosesTheBuffers) {
    onMachine([&] {
        EXPECT_EQ(endOf(startChild(L"fault \"" + in(L"f") + L"\"")), 0xC0000005U);
        EXPECT_EQ(read(in(L"f")), "");
    });
}

TEST_F(Processes, ALockHoldsAgainstOtherProcessesAndGoesWithItsHolder) {
    onMachine([&] {
        write(in(L"f"), "");
        const Handle holder =
            startChild(L"lock \"" + in(L"f") + L"\" \"" + in(L"ready") + L"\" \"" + in(L"go") + L"\"");
        contract::waitForFile(in(L"ready"));
        Stream* stream = openStream(in(L"f"), "r+");
        ASSERT_NE(stream, nullptr);
        EXPECT_FAILS(lockStream(stream, 10), errorLockViolation);
        write(in(L"go"), "");
        EXPECT_EQ(endOf(holder), 0U);
        EXPECT_TRUE(lockStream(stream, 10));
        closeStream(stream);
    });
}

TEST_F(Processes, AFailedStartLeavesTheRecordAlone) {
    onMachine([&] {
        ChildProcess child;
        child.processId = 12;
        EXPECT_FAILS(createProcess(in(L"gone.exe"), {}, child), errorFileNotFound);
        EXPECT_EQ(child.processId, 12U);
        EXPECT_EQ(child.process, Handle::none);
        EXPECT_EQ(child.thread, Handle::none);
    });
}

TEST_F(Processes, AProgramInAMissingDirectoryIsAMissingPath) {
    onMachine([&] {
        ChildProcess child;
        // Wine does not tell a missing directory from a missing file.
        EXPECT_FAILS(createProcess(L"\"" + in(L"gone\\x.exe") + L"\"", {}, child),
                     contract::isWine() ? errorFileNotFound : errorPathNotFound);
    });
}

TEST_F(Processes, ADirectoryIsNoProgram) {
    onMachine([&] {
        ChildProcess child;
        EXPECT_TRUE(createDirectory(in(L"d.exe")));
        EXPECT_FAILS(createProcess(L"\"" + in(L"d.exe") + L"\"", {}, child), errorAccessDenied);
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

TEST_F(Processes, AProcessListBeginsAnewAndEnds) {
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

TEST_F(Processes, AListHoldsARunningChildAndNoEndedOne) {
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

TEST_F(Processes, LocalTimeDoesNotGoBackOverASleep) {
    onMachine([&] {
        const auto ordered = [](const LocalTime& time) {
            return ((((time.year * 13LL + time.month) * 32 + time.day) * 24 + time.hour) * 60 + time.minute) *
                       60000 +
                   time.second * 1000 + time.milliseconds;
        };
        const LocalTime before = localTime();
        sleepMilliseconds(20);
        EXPECT_GT(ordered(localTime()), ordered(before));
    });
}

TEST_F(Processes, OneVariableLeavesTheOthersAlone) {
    onMachine([&] {
        EXPECT_EQ(putEnvironmentText(L"ZL_CONTRACT=one"), 0);
        EXPECT_EQ(putEnvironmentText(L"ZL_CONTRACT_TWO=two"), 0);
        EXPECT_EQ(putEnvironmentText(L"ZL_CONTRACT="), 0);
        EXPECT_EQ(environmentValue(L"ZL_CONTRACT_TWO"), L"two");
        EXPECT_EQ(putEnvironmentText(L"ZL_CONTRACT_TWO="), 0);
    });
}

}  // namespace
