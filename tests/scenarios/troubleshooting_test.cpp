#include <gtest/gtest.h>

#include "scenarios/story.h"
#include "support/faults.h"
#include "support/text.h"

// What a user sees of failures that lie outside of the install. docs/troubleshooting.md and
// docs/operations.md describe them; other suites have the rest of the tree.
namespace {

using launchertest::failing;
using scenarios::contains;
using scenarios::endsWith;
using scenarios::Story;

class Troubleshooting : public Story {
protected:
    // Starts the platform and ends it.
    void startOnce(const std::vector<std::wstring>& arguments = {}) {
        EXPECT_STARTED(launch(arguments));
        closePlatform();
    }
    // The log that a start leaves in TEMP if it fails at its lock.
    std::string lockLog() const {
        for (const std::wstring& path : machine.tree(L"C:\\Temp")) {
            if (path.starts_with(L"C:\\Temp\\zellauncher_2026")) {
                return logAt(path);
            }
        }
        return "";
    }
    std::size_t platforms() const { return machine.startedProcesses().size(); }
};

// --- Where the log is ----------------------------------------------------------------------------

TEST_F(Troubleshooting, NextStartOverwritesTheLog) {
    startOnce({L"one"});
    startOnce({L"two"});
    EXPECT_FALSE(contains(log(), ", one, "));
}

TEST_F(Troubleshooting, DebugStartKeepsTheLog) {
    startOnce({L"one"});
    const std::string before = log();
    startOnce({L"-debug"});
    EXPECT_EQ(log(), before);
}

// The rest is still in the buffer.
TEST_F(Troubleshooting, LogOfARunningLauncherEndsWithItsRole) {
    platform.publishes = false;
    const simulation::ProcessId waiting = begin();
    machine.runUntilIdle(3000);
    EXPECT_TRUE(machine.isRunning(waiting));
    EXPECT_TRUE(endsWith(log(), "ZLNCH0304I: We are main process\n\n"));
}

TEST_F(Troubleshooting, StartAtAHeldLockHasNoLog) {
    platform.publishes = false;
    begin({L"first"});
    machine.runUntilIdle(1000);
    const simulation::ProcessId second = begin({L"second"});
    machine.runUntilIdle(3000);
    EXPECT_TRUE(machine.isRunning(second));
    EXPECT_TRUE(contains(log(), ", first, "));
    EXPECT_EQ(tempLog(), "");
    EXPECT_EQ(lockLog(), "");
}

// --- The profile and the workspace ---------------------------------------------------------------

TEST_F(Troubleshooting, HomeOnAShareIsFatal) {
    machine.setEnvironment(L"HOMEDRIVE", L"\\\\server");
    machine.setEnvironment(L"HOMEPATH", L"\\profiles\\ann");
    EXPECT_FATAL(launch());
    EXPECT_TRUE(contains(tempLog(), "ZLNCH0140E: relative paths can not be converted to unicode path\n"));
}

TEST_F(Troubleshooting, MissingHomeDriveIsFatal) {
    machine.setEnvironment(L"HOMEDRIVE", L"H:");
    machine.setEnvironment(L"HOMEPATH", L"\\");
    EXPECT_FATAL(launch());
    EXPECT_TRUE(contains(tempLog(), "ZLNCH0083E: Unable to create H:/Mivel/ZEL/1234/ann directory.\n"));
}

TEST_F(Troubleshooting, ShareWithoutLocksIsFatal) {
    machine.inject(failing("lockStream", ::platform::errorAccessDenied));
    EXPECT_FATAL(launch());
    EXPECT_TRUE(contains(lockLog(), "ZLNCH0053E: Error locking platform lock file\n"));
    EXPECT_EQ(tempLog(), "");
}

TEST_F(Troubleshooting, LockFileOfAnotherProgramIsFatal) {
    startOnce();
    machine.holdOpen(inWorkspace(L".zel.lock"));
    EXPECT_FATAL(launch());
    EXPECT_TRUE(contains(lockLog(), "ZLNCH0054E: Error locating platform lock file\n"));
}

// The profile is shared with another machine, whose platform cannot be seen from here.
TEST_F(Troubleshooting, PlatformOfAnotherMachineIsNotFound) {
    startOnce();
    machine.writeFile(inWorkspace(L".zel.lock"), "4711          ");
    machine.writeFile(inWorkspace(L".pipe"), "\\\\.\\pipe\\other-4711\r\n");
    EXPECT_STARTED(launch());
    EXPECT_EQ(platforms(), 2U);
}

// The separator at the end turns the closing quote into a character.
TEST_F(Troubleshooting, RootAsWorkspaceSpoilsTheCommand) {
    EXPECT_STARTED(launch({L"-data", L"C:\\"}));
    EXPECT_TRUE(contains(command(), L" -data \"C:\\\" -configuration \"C:\\/.config\" "));
    EXPECT_TRUE(machine.exists(L"C:\\.config\\config.ini"));
}

// --- The identity --------------------------------------------------------------------------------

class StrangeIdentity : public Troubleshooting {
protected:
    std::wstring home = L"C:\\Users\\ann\\Mivel\\ZEL\\";

    void startTwice(const std::string& identity) {
        launcherProperties.set("zel.install.id", identity);
        startOnceAnywhere();
        startOnceAnywhere();
    }
    // With a workspace of another name, closePlatform does not find it.
    void startOnceAnywhere() {
        EXPECT_STARTED(launch());
        machine.runUntilIdle(100000);
    }
};

TEST_F(StrangeIdentity, PercentSignRenewsEachStart) {
    startTwice("50%off");
    EXPECT_TRUE(machine.exists(home + L"50%off\\ann\\.configbak"));
    EXPECT_EQ(valueIn(home + L"50%off\\ann\\.config\\zelinstall.properties", L"zel.install.id"), L"50ff");
}

TEST_F(StrangeIdentity, BackslashIsADirectoryAndRenewsEachStart) {
    startTwice("a\\\\b");
    EXPECT_TRUE(machine.exists(home + L"a\\b\\ann\\.configbak"));
}

TEST_F(StrangeIdentity, NothingButAPercentSequenceIsNeverRenewed) {
    launcherProperties.set("zel.data", "C:/ws");
    startTwice("%d");
    launcherProperties.set("zel.install.id", "other");
    layOut();
    startOnceAnywhere();
    EXPECT_FALSE(machine.exists(L"C:\\ws\\.configbak"));
}

TEST_F(StrangeIdentity, CharacterThatNoFileNameHasIsFatal) {
    launcherProperties.set("zel.install.id", "a?b");
    EXPECT_FATAL(launch());
    EXPECT_TRUE(
        contains(tempLog(), "ZLNCH0083E: Unable to create C:\\Users\\ann/Mivel/ZEL/a?b/ann directory.\n"));
}

// --- Files that cannot be changed ----------------------------------------------------------------

TEST_F(Troubleshooting, FullDiskLeavesAnEmptyLog) {
    layOut();
    machine.setFreeSpace(0);
    EXPECT_FATAL(launch());
    EXPECT_TRUE(machine.exists(inWorkspace(L"logs\\zellauncher.log")));
    EXPECT_EQ(log(), "");
}

// The log is cut off, and the start is a good one.
TEST_F(Troubleshooting, NearlyFullDiskCutsTheLogOff) {
    startOnce();
    machine.remove(inWorkspace(L"logs\\zellauncher.log"));  // its space would be enough for the next one
    machine.setFreeSpace(600);
    EXPECT_STARTED(launch());
    EXPECT_FALSE(contains(log(), "ZLNCH0306I"));
    EXPECT_EQ(platforms(), 2U);
}

// --- A renewal while the platform runs -----------------------------------------------------------

TEST_F(Troubleshooting, ResetOfARunningPlatformTakesItsConfigurationAway) {
    EXPECT_STARTED(launch({L"one"}));
    EXPECT_FATAL(launch({L"-resetconfig"}));
    EXPECT_TRUE(endsWith(
        log(),
        "ZLNCH0096E: Unable to load C:\\Users\\ann/Mivel/ZEL/1234/ann/.config\\args.properties file!\n"));
    EXPECT_TRUE(machine.exists(inWorkspace(L".configbak\\args.properties")));
    EXPECT_FATAL(launch());  // until the platform has ended
    closePlatform();
    EXPECT_STARTED(launch());
}

TEST_F(Troubleshooting, ChangedIdentityWhileThePlatformRunsTakesItsConfigurationAway) {
    launcherProperties.set("zel.data", "C:/Users/ann/Mivel/ZEL/1234/ann");
    EXPECT_STARTED(launch());
    launcherProperties.set("zel.install.id", "1235");
    layOut();
    EXPECT_FATAL(launch());
    EXPECT_TRUE(contains(log(), "ZLNCH0096E: Unable to load "));
    EXPECT_TRUE(machine.exists(inWorkspace(L".configbak\\args.properties")));
    closePlatform();
    EXPECT_STARTED(launch());
}

}  // namespace
