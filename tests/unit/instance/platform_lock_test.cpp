#include "instance/platform_lock.h"

#include <algorithm>

#include "foundation/log_channel.h"
#include "instance/process_record.h"
#include "platform/child_processes.h"
#include "platform/own_process.h"
#include "support/operations.h"
#include "support/text.h"
#include "unit/instance/workspace_fixture.h"

namespace {

using instancetest::lockFile;
using instancetest::pipeFile;
using instancetest::Workspace;
using launchertest::failing;
using launchertest::failingFrom;

constexpr const wchar_t* launcherProgram = L"C:\\zel\\zellauncher.exe";

// Acquires the lock of C:\ws in the calling process.
void acquireHere() {
    zellauncher::acquirePlatformLock({L"prog"}, L"C:\\ws");
}

class PlatformLock : public Workspace {};

TEST_F(PlatformLock, FirstLauncherIsMainAndCreatesTheFile) {
    acquire();
    EXPECT_TRUE(isMain);
    EXPECT_FALSE(isStale);
    EXPECT_EQ(machine.readFile(lockFile), "");
    EXPECT_EQ(machine.attributes(lockFile), 0x2002U);
    EXPECT_EQ(machine.elapsedMilliseconds(), 0U);
}

TEST_F(PlatformLock, FileIsCreatedSharedAndItsHandleClosed) {
    std::size_t handles = 0;
    run([&] {
        acquireHere();
        handles = machine.openHandlesOf(platform::currentProcessId());
    });
    EXPECT_EQ(launchertest::callsOf(machine, "createFile").at(0).numbers,
              (simulation::Numbers{0xC0000000U, 3, 4, 8194}));
    EXPECT_EQ(handles, 0U);
}

TEST_F(PlatformLock, HundredBytesAreLockedAndReleased) {
    run([] {
        acquireHere();
        zellauncher::releasePlatformLock();
    });
    EXPECT_EQ(launchertest::callsOf(machine, "lockStream").at(0).numbers[0], 100U);
    EXPECT_EQ(launchertest::callsOf(machine, "unlockStream").at(0).numbers[0], 100U);
}

TEST_F(PlatformLock, ProgressIsLoggedWithoutTheDebugFlag) {
    acquire();
    EXPECT_EQ(outcome.log,
              "ZLNCH0303I: lock file captured @ 20260131_235900_000\n"
              "ZLNCH0090E: Existing platform lock file found - checking validity.\n"
              "ZLNCH0091E: No data in the platform lock file.\n"
              "ZLNCH0304I: We are main process\n");
}

TEST_F(PlatformLock, FilesAreInTheWorkspace) {
    runQuietly([] {
        zellauncher::acquirePlatformLock({L"prog"}, L"C:/ws");
        EXPECT_EQ(zellauncher::lockFilePath, lockFile);
        EXPECT_EQ(zellauncher::endpointFilePath, pipeFile);
        EXPECT_EQ(zellauncher::mainRecordPath, instancetest::mainRecord);
    });
}

TEST_F(PlatformLock, DebugFlagStaysOn) {
    run([] {
        acquireHere();
        EXPECT_TRUE(zellauncher::isLogDebug());
        zellauncher::releasePlatformLock();
        EXPECT_TRUE(zellauncher::isLogDebug());
    });
}

TEST_F(PlatformLock, DebugFlagStaysOff) {
    runQuietly([] {
        acquireHere();
        EXPECT_FALSE(zellauncher::isLogDebug());
        zellauncher::releasePlatformLock();
        EXPECT_FALSE(zellauncher::isLogDebug());
    });
}

TEST_F(PlatformLock, ProcessIdWithoutPipeFileIsNoOwner) {
    machine.writeFile(lockFile, "4711          ");
    acquire();
    EXPECT_TRUE(isMain);
    EXPECT_EQ(owner, 4711);
    EXPECT_FALSE(isStale);
}

TEST_F(PlatformLock, PipeFileOfADeadPlatformIsDeleted) {
    leaveDeadPlatform();
    acquire();
    EXPECT_TRUE(isMain);
    EXPECT_TRUE(isStale);
    EXPECT_FALSE(machine.exists(pipeFile));
}

TEST_F(PlatformLock, DaemonWritesNothing) {
    const simulation::ProcessId id = startPlatform(60000);
    const auto before = machine.readFile(lockFile);
    acquire();
    EXPECT_FALSE(isMain);
    EXPECT_EQ(owner, static_cast<std::int32_t>(id));
    EXPECT_EQ(machine.readFile(lockFile), before);
    EXPECT_TRUE(machine.exists(pipeFile));
    EXPECT_EQ(outcome.lastLine(), "ZLNCH0305I: We are daemon process");
}

TEST_F(PlatformLock, UnopenableFileIsFatal) {
    machine.makeDirectory(lockFile);
    acquire();
    outcome.expectFatal("ZLNCH0054E: Error locating platform lock file");
}

TEST_F(PlatformLock, MissingWorkspaceIsFatal) {
    machine.remove(L"C:\\ws");
    acquire();
    outcome.expectFatal("ZLNCH0054E: Error locating platform lock file");
}

TEST_F(PlatformLock, ExistingFileKeepsContentAndAttributes) {
    machine.writeFile(lockFile, "4711          ");
    machine.setAttributes(lockFile, 0x80);
    acquire();
    EXPECT_EQ(machine.readFile(lockFile), "4711          ");
    EXPECT_EQ(machine.attributes(lockFile), 0x80U);
}

TEST_F(PlatformLock, UndeletablePipeFileIsStaleToo) {
    writePipeFile("gone");
    machine.setAttributes(pipeFile, 0x1);
    acquire();
    EXPECT_TRUE(isMain);
    EXPECT_TRUE(isStale);
    EXPECT_EQ(outcome.processEnd().status, 0U);
}

TEST_F(PlatformLock, PlatformOfOtherUserIsFatal) {
    leavePlatformOfOtherUser();
    acquire();
    expectAccessDenied();
    EXPECT_TRUE(machine.exists(pipeFile));
}

TEST_F(PlatformLock, UnlockableFileIsFatalAtOnce) {
    machine.inject(failing("lockStream", platform::errorAccessDenied));
    acquire();
    outcome.expectFatal("ZLNCH0053E: Error locking platform lock file");
    EXPECT_EQ(machine.elapsedMilliseconds(), 0U);
}

TEST_F(PlatformLock, LauncherWaitsForAnyHolderWithoutLimit) {
    const simulation::ProcessId holder = machine.start({launcherProgram}, [] {
        acquireHere();
        platform::sleepMilliseconds(600000);
        return 0;
    });
    machine.runUntilIdle(1);
    acquire();
    EXPECT_TRUE(isMain);
    EXPECT_FALSE(machine.isRunning(holder));
    EXPECT_GE(machine.elapsedMilliseconds(), 600000U);
    EXPECT_LE(machine.elapsedMilliseconds(), 601000U);
}

TEST_F(PlatformLock, OneLauncherHoldsItAtATime) {
    for (std::uint64_t seed = 1; seed <= 30; ++seed) {
        simulation::Machine other(seed);
        other.makeDirectory(L"C:\\ws");
        int holders = 0;
        int releases = 0;
        const auto launcher = [&] {
            acquireHere();
            EXPECT_EQ(++holders, 1);
            platform::sleepMilliseconds(100);
            --holders;
            zellauncher::releasePlatformLock();
            ++releases;
            return 0;
        };
        for (int i = 0; i < 3; ++i) {
            other.start({launcherProgram}, launcher);
        }
        other.runUntilIdle(60000);
        EXPECT_EQ(releases, 3);
    }
}

TEST_F(PlatformLock, CrashedLauncherHoldsNoLock) {
    const simulation::ProcessId holder = machine.start({launcherProgram}, []() -> int {
        acquireHere();
        platform::sleepMilliseconds(5000);
        platform::endWithAccessViolation();
    });
    machine.runUntilIdle(1);
    acquire();
    EXPECT_FALSE(machine.isRunning(holder));
    EXPECT_TRUE(isMain);
}

TEST_F(PlatformLock, SecondReleaseIsIgnored) {
    outcome = runQuietly([] {
        acquireHere();
        zellauncher::releasePlatformLock();
        zellauncher::releasePlatformLock();
    });
    EXPECT_EQ(outcome.processEnd().status, 0U);
    EXPECT_EQ(outcome.lastLine(), "ZLNCH0306I: lock file released @ 20260131_235900_000");
}

TEST_F(PlatformLock, FailedReleaseIsFatal) {
    machine.inject(failing("unlockStream", platform::errorAccessDenied));
    outcome = runQuietly([] {
        acquireHere();
        zellauncher::releasePlatformLock();
    });
    outcome.expectFatal("ZLNCH0070E: Error unlocking platform lock file");
}

// Several launchers of one workspace. The main process starts a platform, which publishes its pipe
// after a while.
class Queue : public Workspace {
protected:
    int daemons = 0;
    std::vector<std::int32_t> owners;

    void installPlatform(std::uint32_t publishesAfter) {
        machine.installProgram(L"C:\\eclipse.exe", [publishesAfter] {
            simulation::holdSemaphore(L"Global\\p1sem");
            platform::sleepMilliseconds(publishesAfter);
            zellauncher::TextStream pipe = zellauncher::openFile(pipeFile, "w");
            zellauncher::putText(pipe, L"\\\\.\\pipe\\p1\n");
            zellauncher::closeTextStream(pipe);
            platform::sleepMilliseconds(3600000);
            return 0;
        });
    }
    simulation::ProcessId begin() {
        return machine.start({launcherProgram}, [this] {
            acquireHere();
            owners.push_back(zellauncher::lockOwnerPid);
            if (!zellauncher::isMainProcess) {
                ++daemons;
            } else {
                const auto child = platform::createProcess(L"C:\\eclipse.exe", {});
                EXPECT_TRUE(child.has_value());
                zellauncher::recordPlatformProcess(child.value_or(platform::ChildProcess{}).processId);
            }
            zellauncher::releasePlatformLock();
            return 0;
        });
    }
    void startTogether(int launchers) {
        std::vector<simulation::ProcessId> all(static_cast<std::size_t>(launchers));
        std::generate(all.begin(), all.end(), [this] { return begin(); });
        for (const simulation::ProcessId launcher : all) {
            EXPECT_EQ(machine.waitFor(launcher).status, 0U);
        }
    }
};

TEST_F(Queue, LaterLaunchersFindTheFirstOnesPlatform) {
    installPlatform(14500);
    startTogether(3);
    ASSERT_EQ(machine.startedProcesses().size(), 1U);
    EXPECT_EQ(daemons, 2);
    const auto platformId = static_cast<std::int32_t>(machine.startedProcesses()[0].id);
    EXPECT_EQ(owners, (std::vector<std::int32_t>{0, platformId, platformId}));
    EXPECT_EQ(machine.readFile(lockFile), std::to_string(platformId) + "          ");
}

TEST_F(Queue, PlatformThatPublishesTooLateIsStartedTwice) {
    installPlatform(20000);
    startTogether(2);
    EXPECT_EQ(machine.startedProcesses().size(), 2U);
    EXPECT_EQ(daemons, 0);
    EXPECT_GE(machine.elapsedMilliseconds(), 15000U);
}

TEST_F(PlatformLock, InvalidationBlanksTheProcessIdInPlace) {
    machine.writeFile(lockFile, "123456789012345678");
    std::string onDisk;  // while the launcher runs
    const auto invalidate = [&] {
        zellauncher::lockFilePath = lockFile;
        zellauncher::openLockFile();
        zellauncher::invalidateLockFile();
        onDisk = machine.readFile(lockFile).value_or("");
    };
    outcome = run(invalidate);
    EXPECT_EQ(onDisk, std::string(14, ' ') + "5678");
    EXPECT_EQ(machine.readFile(lockFile), std::string(14, ' ') + "5678");
    EXPECT_EQ(outcome.log, "");
    machine.inject(failing("writeStream", platform::errorAccessDenied, L".zel.lock"));
    outcome = run(invalidate);
    EXPECT_EQ(outcome.log, "ZLNCH0052E: Unable to invalidate platform lock file\n");
    machine.inject(failing("flushStream", platform::errorAccessDenied, L".zel.lock"));
    outcome = run(invalidate);
    EXPECT_EQ(outcome.log, "");  // the message follows the write alone
}

class Restart : public Workspace {
protected:
    static zellauncher::Arguments restartOf(simulation::ProcessId id) {
        return {L"prog", L"-restart", L"-zel_old_pid", std::to_wstring(id)};
    }
    // Acquires the lock and returns how many milliseconds that took.
    std::uint64_t timeAcquire(const zellauncher::Arguments& arguments) {
        const std::uint64_t begin = machine.elapsedMilliseconds();
        acquire(arguments);
        return machine.elapsedMilliseconds() - begin;
    }
};

TEST_F(Restart, WaitEndsWithinASecondOfTheOldPlatform) {
    for (const std::uint32_t life : {0U, 5000U, 15000U}) {
        const simulation::ProcessId old = startPlatform(life);
        const std::uint64_t waited = timeAcquire(restartOf(old));
        EXPECT_TRUE(isMain);
        EXPECT_TRUE(isStale);
        EXPECT_GE(waited, std::max(life, 1000U) - 1);
        EXPECT_LE(waited, life + 1000U);
    }
}

TEST_F(Restart, OldPlatformLosesTheLockFileAfterTwentySeconds) {
    const simulation::ProcessId old = startPlatform(3600000);
    EXPECT_EQ(timeAcquire(restartOf(old)), 20000U);
    EXPECT_TRUE(
        outcome.logHas("ZLNCH0013E: Existing platform has not shutdown within allotted time. Invalidating "
                       "the lockfile for new launch."));
    EXPECT_TRUE(isMain);
    EXPECT_EQ(machine.readFile(lockFile), std::string(14, ' '));
}

TEST_F(Restart, FailedInvalidationIsRepeatedEachSecond) {
    const simulation::ProcessId old = startPlatform(25000);
    machine.inject(failingFrom("writeStream", platform::errorAccessDenied, L".zel.lock"));
    acquire(restartOf(old));
    EXPECT_GE(launchertest::countOccurrences(outcome.log, "ZLNCH0052E"), 5U);
    EXPECT_TRUE(isMain);
}

TEST_F(Restart, OtherOwnerIsNotWaitedFor) {
    startPlatform(3600000);
    EXPECT_EQ(timeAcquire(restartOf(1)), 1000U);
    EXPECT_FALSE(isMain);
}

TEST_F(Restart, MissingProcessIdEndsTheWaitAtOnce) {
    startPlatform(3600000);
    EXPECT_EQ(timeAcquire({L"prog", L"-restart"}), 1000U);
    EXPECT_FALSE(isMain);
    for (const char* record : {"1          ", "-1          "}) {
        machine.writeFile(lockFile, record);
        EXPECT_EQ(timeAcquire({L"prog", L"-restart", L"-zel_old_pid"}), 1000U);
        EXPECT_FALSE(isMain);
    }
}

TEST_F(Restart, LauncherWithoutTheOptionDoesNotWait) {
    startPlatform(3600000);
    for (const zellauncher::Arguments& arguments :
         {zellauncher::Arguments{L"-restart"}, {L"prog", L"-Restart"}, {L"prog", L"-zel_old_pid", L"1"}}) {
        EXPECT_EQ(timeAcquire(arguments), 0U);
        EXPECT_FALSE(isMain);
    }
}

TEST_F(Restart, NonNumericProcessIdIsZero) {
    startPlatform(3600000);
    EXPECT_EQ(timeAcquire({L"prog", L"-restart", L"-zel_old_pid", L"p1"}), 1000U);
    machine.writeFile(lockFile, "0          ");
    // The 0 in the file equals the missing process id, so the launcher waits for this owner.
    EXPECT_EQ(timeAcquire({L"prog", L"-restart"}), 20000U);
    EXPECT_TRUE(isMain);
}

TEST_F(Restart, LockFileOfAPlatformThatEndsInTimeStays) {
    const simulation::ProcessId old = startPlatform(18500);
    acquire(restartOf(old));
    EXPECT_TRUE(isMain);
    EXPECT_EQ(outcome.log.find("ZLNCH0013E"), std::string::npos);
    EXPECT_EQ(machine.readFile(lockFile), std::to_string(old) + "          ");
}

TEST_F(Restart, VanishedPipeFileDoesNotEndTheWait) {
    const simulation::ProcessId old = startPlatform(10000);
    machine.start({L"C:\\eclipse.exe"}, [this] {
        platform::sleepMilliseconds(3500);
        machine.remove(pipeFile);
        return 0;
    });
    const std::uint64_t waited = timeAcquire(restartOf(old));
    EXPECT_GE(waited, 9999U);
    EXPECT_LE(waited, 11000U);
    EXPECT_TRUE(isMain);
    EXPECT_FALSE(isStale);
}

TEST_F(Restart, NewOwnerEndsTheWait) {
    const simulation::ProcessId old = startPlatform(3600000);
    machine.start({L"C:\\eclipse.exe"}, [this] {
        platform::sleepMilliseconds(4500);
        machine.writeFile(lockFile, "1          ");
        return 0;
    });
    const std::uint64_t waited = timeAcquire(restartOf(old));
    EXPECT_LE(waited, 5000U);
    EXPECT_GE(waited, 4499U);
    EXPECT_FALSE(isMain);
    EXPECT_EQ(owner, 1);
}

TEST_F(Restart, LockHolderHidesTheOwnerFromTheWait) {
    const simulation::ProcessId old = startPlatform(30000);
    machine.start({launcherProgram}, [] {
        acquireHere();
        platform::sleepMilliseconds(5000);
        return 0;
    });
    machine.runUntilIdle(1);
    EXPECT_LE(timeAcquire(restartOf(old)), 6000U);
    EXPECT_TRUE(outcome.logHas("ZLNCH0091E: No data in the platform lock file."));
    EXPECT_FALSE(isMain);
    EXPECT_EQ(owner, static_cast<std::int32_t>(old));
}

TEST_F(Restart, PlatformOfOtherUserIsFatalBeforeTheLock) {
    leavePlatformOfOtherUser();
    acquire({L"prog", L"-restart", L"-zel_old_pid", L"4711"});
    expectAccessDenied();
    EXPECT_EQ(outcome.log.find("ZLNCH0303I"), std::string::npos);
}

TEST_F(Restart, WaitWithoutAPlatformLastsOneSecond) {
    acquire({L"prog", L"-restart", L"-zel_old_pid", L"7"});
    EXPECT_EQ(machine.elapsedMilliseconds(), 1000U);
    EXPECT_TRUE(isMain);
}

}  // namespace
