#include <gtest/gtest.h>

#include "platform/clock.h"
#include "platform/files.h"
#include "scenarios/story.h"

// A locked-down desktop whose system gives a new process the id of one that has ended.
namespace {

using scenarios::contains;
using scenarios::Story;
using simulation::ProcessId;

class ReusedProcessIds : public Story {
protected:
    ReusedProcessIds() {
        launcherProperties.set("install.configuration", "lockdown");
        machine.reuseProcessIds();
    }
    // Another program that lives that long.
    ProcessId beginOther(const std::wstring& path, std::uint32_t milliseconds, int exitCode) {
        return machine.start({path}, [=] {
            platform::sleepMilliseconds(milliseconds);
            return exitCode;
        });
    }
    // The platforms that are running.
    std::vector<ProcessId> platforms() const {
        std::vector<ProcessId> running;
        for (const simulation::StartedProcess& child : machine.startedProcesses()) {
            if (machine.isRunning(child.id)) {
                running.push_back(child.id);
            }
        }
        return running;
    }
};

// The supervisor keeps its handles of the crashed platform. Otherwise the platform of the second start could
// get that one's id, and the supervisor would take it for its own dead one and start another beside it.
TEST_F(ReusedProcessIds, CrashedPlatformsIdIsNotReusedUnderItsSupervisor) {
    const ProcessId supervisor = begin({L"first"});
    machine.runUntilIdle(5000);
    ASSERT_EQ(platforms().size(), 1U);
    const ProcessId crashed = platforms().front();
    // Another program has `.pipe` open for a while, so that the second start is held up with the lock.
    machine.start({L"C:\\scanner.exe"}, [this] {
        const platform::Handle file =
            platform::createFile(inWorkspace(L".pipe"), platform::accessRead, platform::shareRead,
                                 platform::openExistingFile, platform::attributeNormal);
        EXPECT_NE(file, platform::Handle::none);
        platform::sleepMilliseconds(900);
        platform::closeHandle(file);
        platform::sleepMilliseconds(60000);
        return 0;
    });
    machine.runUntilIdle(10);
    machine.stop(crashed);
    const ProcessId second = begin({L"second"});
    machine.runUntilIdle(5000);
    EXPECT_FALSE(machine.isRunning(supervisor));
    EXPECT_TRUE(machine.isRunning(second));
    ASSERT_EQ(platforms().size(), 1U);
    EXPECT_NE(machine.systemIdOf(platforms().front()), machine.systemIdOf(crashed));
    EXPECT_TRUE(contains(command(), L"second"));
}

// The launcher watches one eclipse.exe of its list after the other. When it comes to the second, that one has
// ended and a program of another name has its id.
TEST_F(ReusedProcessIds, StrangerWithAListedIdIsWatched) {
    platform.livesMilliseconds = 10000;
    platform.exitCode = 23;
    const ProcessId longer = beginOther(L"C:\\Other\\eclipse.exe", 40000, 23);
    const ProcessId shorter = beginOther(L"C:\\Another\\eclipse.exe", 20000, 0);
    const ProcessId supervisor = begin();
    machine.runUntilIdle(30000);
    ASSERT_FALSE(machine.isRunning(shorter));
    ASSERT_TRUE(machine.isRunning(longer));
    const ProcessId stranger = beginOther(L"C:\\editor.exe", 60000, 3);
    ASSERT_EQ(machine.systemIdOf(stranger), machine.systemIdOf(shorter));
    machine.runUntilIdle(50000);
    ASSERT_FALSE(machine.isRunning(longer));
    EXPECT_TRUE(machine.isRunning(supervisor));
    EXPECT_EQ(machine.startedProcesses().size(), 1U);
    // Its exit code is treated as that of a crashed platform.
    machine.runUntilIdle(15000);
    EXPECT_FALSE(machine.isRunning(stranger));
    EXPECT_EQ(machine.startedProcesses().size(), 2U);
    EXPECT_STARTED(machine.waitFor(supervisor));
}

// An id that nobody has any more is skipped.
TEST_F(ReusedProcessIds, ListedIdWithoutAProcessIsSkipped) {
    platform.livesMilliseconds = 10000;
    platform.exitCode = 23;
    beginOther(L"C:\\Other\\eclipse.exe", 40000, 23);
    beginOther(L"C:\\Another\\eclipse.exe", 20000, 3);
    EXPECT_STARTED(launch());
    EXPECT_EQ(machine.startedProcesses().size(), 1U);
}

// The restart names the platform that asked for it by its process id alone. If another platform has it by
// then, the launcher waits for that one as for a platform that does not end.
TEST_F(ReusedProcessIds, RestartTakesANewPlatformForTheOldOne) {
    launcherProperties.set("install.configuration", "user");
    EXPECT_STARTED(launch());
    const ProcessId old = platforms().front();
    closePlatform();
    // What ended last is reused first: the next start should have the id of the first launcher, and its
    // platform that of the old one.
    beginOther(L"C:\\editor.exe", 1, 0);
    beginOther(L"C:\\editor.exe", 2, 0);
    machine.runUntilIdle(10);
    EXPECT_STARTED(launch());
    ASSERT_EQ(machine.systemIdOf(platforms().front()), machine.systemIdOf(old));
    const std::uint64_t begin = machine.elapsedMilliseconds();
    EXPECT_STARTED(launch({L"-restart", L"-zel_old_pid", std::to_wstring(machine.systemIdOf(old))}));
    EXPECT_GE(machine.elapsedMilliseconds() - begin, 20000U);
    EXPECT_EQ(platforms().size(), 2U);
}

}  // namespace
