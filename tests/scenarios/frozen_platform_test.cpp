#include <gtest/gtest.h>

#include "scenarios/story.h"

namespace {

using scenarios::contains;
using scenarios::Story;

constexpr std::uint32_t oneHour = 3'600'000;
constexpr std::uint32_t tenMinutes = 600'000;

// A platform that has published everything and does not read its pipe, as one whose window is frozen.
class FrozenPlatform : public Story {
protected:
    FrozenPlatform() {
        platform.livesMilliseconds = oneHour;
        platform.frozenMilliseconds = oneHour;
    }
    void passTenMinutes() { machine.runUntilIdle(tenMinutes); }
    bool hasReceived(const std::wstring& argument) const {
        return payloads().size() == 1 && contains(payloads()[0], L"\n" + argument + L"\n");
    }
};

// Its text does not fit into the pipe's buffer. It holds the lock meanwhile.
TEST_F(FrozenPlatform, BlocksALauncherAndAllLaterOnes) {
    EXPECT_STARTED(launch());
    const simulation::ProcessId first = begin({L"first"});
    const simulation::ProcessId second = begin({L"second"});
    passTenMinutes();
    EXPECT_TRUE(machine.isRunning(first));
    EXPECT_TRUE(machine.isRunning(second));
    EXPECT_EQ(machine.startedProcesses().size(), 1U);
}

TEST_F(FrozenPlatform, EndLetsTheNextLauncherStartAPlatform) {
    EXPECT_STARTED(launch());
    const simulation::ProcessId first = begin({L"first"});
    passTenMinutes();
    const simulation::ProcessId second = begin({L"second"});
    passTenMinutes();
    closePlatform();
    EXPECT_FATAL(machine.waitFor(first));
    EXPECT_TRUE(contains(log(), "ZLNCH0144E: Unable to write to pipe ' Failed with error 109: "));
    platform.frozenMilliseconds = 0;
    EXPECT_STARTED(machine.waitFor(second));
    EXPECT_EQ(machine.startedProcesses().size(), 2U);
    EXPECT_TRUE(hasElement(L"\"second\""));
}

TEST_F(FrozenPlatform, TakesOneTextThatFitsIntoItsBuffer) {
    platform.pipeBuffer = 65536;
    EXPECT_STARTED(launch());
    EXPECT_STARTED(launch({L"first"}));
    EXPECT_TRUE(hasReceived(L"first"));
    const simulation::ProcessId second = begin({L"second"});
    passTenMinutes();
    EXPECT_TRUE(machine.isRunning(second));
    closePlatform();
    EXPECT_FATAL(machine.waitFor(second));
    EXPECT_TRUE(contains(log(), "ZLNCH0142E: Unable to find pipe  Failed with error 2: "));
}

TEST_F(FrozenPlatform, ReadsEveryWaitingTextWhenItGoesOn) {
    platform.frozenMilliseconds = tenMinutes;
    EXPECT_STARTED(launch());
    const simulation::ProcessId first = begin({L"first"});
    const simulation::ProcessId second = begin({L"second"});
    EXPECT_STARTED(machine.waitFor(first));
    EXPECT_STARTED(machine.waitFor(second));
    EXPECT_GE(machine.elapsedMilliseconds(), tenMinutes);
    EXPECT_EQ(payloads().size(), 2U);
    EXPECT_EQ(machine.startedProcesses().size(), 1U);
}

// A restart waits for the end of the old platform, for 20 seconds, and needs no pipe.
TEST_F(FrozenPlatform, RunsBesideTheOneOfARestart) {
    EXPECT_STARTED(launch());
    const simulation::ProcessId old = machine.startedProcesses()[0].id;
    const std::uint64_t begin = machine.elapsedMilliseconds();
    EXPECT_STARTED(launch({L"-restart", L"-zel_old_pid", std::to_wstring(old)}));
    EXPECT_GE(machine.elapsedMilliseconds(), begin + 20000);
    EXPECT_EQ(machine.startedProcesses().size(), 2U);
    EXPECT_TRUE(machine.isRunning(old));
}

}  // namespace
