#include "instance/platform_lock.h"

#include <algorithm>

#include "foundation/log_channel.h"
#include "instance/process_record.h"
#include "platform/child_processes.h"
#include "platform/process.h"
#include "unit/instance/workspace_fixture.h"

namespace {

using instancetest::endpoint;
using instancetest::lockFile;
using instancetest::Workspace;

class PlatformLock : public Workspace {};

TEST_F(PlatformLock, TheFirstLauncherIsMainAndMakesTheFile) {
    acquire();
    EXPECT_TRUE(isMain);
    EXPECT_FALSE(isStale);
    EXPECT_EQ(machine.readFile(lockFile), "");
    EXPECT_EQ(machine.attributes(lockFile), 0x2002U);
    EXPECT_EQ(machine.elapsedMilliseconds(), 0U);
}

TEST_F(PlatformLock, ItsLinesStandInEveryLog) {
    acquire();
    EXPECT_EQ(outcome.log,
              "ZLNCH0303I: lock file captured @ 20260131_235900_000\n"
              "ZLNCH0090E: Existing platform lock file found - checking validity.\n"
              "ZLNCH0091E: No data in the platform lock file.\n"
              "ZLNCH0304I: We are main process\n");
}

TEST_F(PlatformLock, TheFilesOfAWorkspaceLieSideBySide) {
    runQuietly([] {
        zellauncher::acquirePlatformLock({L"prog"}, L"C:/ws", L"");
        EXPECT_EQ(zellauncher::lockFilePath, lockFile);
        EXPECT_EQ(zellauncher::endpointFilePath, endpoint);
        EXPECT_EQ(zellauncher::mainRecordPath, instancetest::mainRecord);
    });
}

TEST_F(PlatformLock, KeepsADebugFlagThatIsOn) {
    run([] {
        zellauncher::acquirePlatformLock({L"prog"}, L"C:\\ws", L"");
        EXPECT_TRUE(zellauncher::isLogDebug());
        zellauncher::releasePlatformLock();
        EXPECT_TRUE(zellauncher::isLogDebug());
    });
}

TEST_F(PlatformLock, RestoresTheDebugFlag) {
    runQuietly([] {
        zellauncher::acquirePlatformLock({L"prog"}, L"C:\\ws", L"");
        EXPECT_FALSE(zellauncher::isLogDebug());
        zellauncher::releasePlatformLock();
        EXPECT_FALSE(zellauncher::isLogDebug());
    });
}

TEST_F(PlatformLock, ANumberWithoutAnEndpointIsNoOwner) {
    machine.writeFile(lockFile, "4711          ");
    acquire();
    EXPECT_TRUE(isMain);
    EXPECT_EQ(owner, 4711);
    EXPECT_FALSE(isStale);
}

TEST_F(PlatformLock, AnEndpointOfADeadPlatformIsDeleted) {
    machine.writeFile(lockFile, "4711          ");
    machine.writeFile(endpoint, "\\\\.\\pipe\\gone\r\n");
    acquire();
    EXPECT_TRUE(isMain);
    EXPECT_TRUE(isStale);
    EXPECT_FALSE(machine.exists(endpoint));
}

TEST_F(PlatformLock, ALivePlatformMakesADaemonThatWritesNothing) {
    const simulation::ProcessId id = startPlatform(60000);
    const auto before = machine.readFile(lockFile);
    acquire();
    EXPECT_FALSE(isMain);
    EXPECT_EQ(owner, static_cast<std::int32_t>(id));
    EXPECT_EQ(machine.readFile(lockFile), before);
    EXPECT_TRUE(machine.exists(endpoint));
    EXPECT_EQ(outcome.lastLine(), "ZLNCH0305I: We are daemon process");
}

TEST_F(PlatformLock, AFileThatCannotBeOpenedIsFatal) {
    machine.makeDirectory(lockFile);
    acquire();
    expectFatal("ZLNCH0054E: Error locating platform lock file");
}

TEST_F(PlatformLock, AWorkspaceThatIsMissingIsFatal) {
    machine.remove(L"C:\\ws");
    acquire();
    expectFatal("ZLNCH0054E: Error locating platform lock file");
}

TEST_F(PlatformLock, AFileThatExistsKeepsItsContentAndAttributes) {
    machine.writeFile(lockFile, "4711          ");
    machine.setAttributes(lockFile, 0x80);
    acquire();
    EXPECT_EQ(machine.readFile(lockFile), "4711          ");
    EXPECT_EQ(machine.attributes(lockFile), 0x80U);
}

TEST_F(PlatformLock, AnEndpointThatCannotBeDeletedIsStaleAllTheSame) {
    machine.writeFile(endpoint, "\\\\.\\pipe\\gone\r\n");
    machine.setAttributes(endpoint, 0x1);
    acquire();
    EXPECT_TRUE(isMain);
    EXPECT_TRUE(isStale);
    EXPECT_EQ(outcome.end.status, 0U);
}

// A launcher that waits for a restart reads it without the lock.
TEST_F(PlatformLock, AnEndpointThatSomebodyReadsAtTheMomentIsDeletedWhenHeHasRead) {
    machine.writeFile(lockFile, "4711          ");
    machine.writeFile(endpoint, "\\\\.\\pipe\\gone\r\n");
    machine.start({L"C:\\reader.exe"}, [] {
        platform::Stream* stream = platform::openStream(endpoint, "r");
        platform::sleepMilliseconds(250);
        platform::closeStream(stream);
        return 0;
    });
    machine.runUntilIdle(1);
    acquire();
    EXPECT_TRUE(isMain);
    EXPECT_TRUE(isStale);
    EXPECT_FALSE(machine.exists(endpoint));
    EXPECT_EQ(machine.elapsedMilliseconds(), 301U);
}

// A start that was stopped in the middle of this left the older one under the name of what is deleted.
TEST_F(PlatformLock, AnEndpointBesideAnOlderOneThatWasNotQuiteDeletedIsDeletedAtOnce) {
    machine.writeFile(lockFile, "4711          ");
    machine.writeFile(endpoint, "\\\\.\\pipe\\gone\r\n");
    machine.writeFile(endpoint + std::wstring(L".deleteme"), "\\\\.\\pipe\\older\r\n");
    acquire();
    EXPECT_TRUE(isMain);
    EXPECT_TRUE(isStale);
    EXPECT_FALSE(machine.exists(endpoint));
    EXPECT_EQ(machine.elapsedMilliseconds(), 0U);
}

TEST_F(PlatformLock, AnEndpointThatStaysHoldsAStartUpForASecondAtTheMost) {
    machine.writeFile(lockFile, "4711          ");
    machine.writeFile(endpoint, "\\\\.\\pipe\\gone\r\n");
    machine.holdOpen(endpoint);
    acquire();
    EXPECT_TRUE(isMain);
    EXPECT_TRUE(machine.exists(endpoint));
    EXPECT_EQ(machine.elapsedMilliseconds(), 1000U);
}

TEST_F(PlatformLock, AnotherUsersPlatformEndsTheStart) {
    machine.writeFile(lockFile, "4711          ");
    machine.writeFile(endpoint, "\\\\.\\pipe\\abc\r\n");
    machine.createSemaphore(L"Global\\abcsem", false);
    acquire();
    expectFatal("ZLNCH0303E: Unable to access process. Is it elevated? '");
    EXPECT_TRUE(machine.exists(endpoint));
}

TEST_F(PlatformLock, AFileThatCannotBeLockedIsFatalAtOnce) {
    fail("lockStream", platform::errorAccessDenied);
    acquire();
    expectFatal("ZLNCH0053E: Error locking platform lock file");
    EXPECT_EQ(machine.elapsedMilliseconds(), 0U);
}

TEST_F(PlatformLock, WaitsWithoutLimitForALauncherThatWorks) {
    const simulation::ProcessId holder = machine.start({L"C:\\zel\\zellauncher.exe"}, [] {
        zellauncher::acquirePlatformLock({L"prog"}, L"C:\\ws", L"");
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

TEST_F(PlatformLock, LetsOneLauncherInAtATime) {
    for (std::uint64_t seed = 1; seed <= 30; ++seed) {
        simulation::Machine other(seed);
        other.makeDirectory(L"C:\\ws");
        int inside = 0;
        int entered = 0;
        const auto launcher = [&] {
            zellauncher::acquirePlatformLock({L"prog"}, L"C:\\ws", L"");
            EXPECT_EQ(++inside, 1);
            platform::sleepMilliseconds(100);
            ++entered;
            --inside;
            zellauncher::releasePlatformLock();
            return 0;
        };
        for (int i = 0; i < 3; ++i) {
            other.start({L"C:\\zel\\zellauncher.exe"}, launcher);
        }
        other.runUntilIdle(60000);
        EXPECT_EQ(entered, 3);
    }
}

TEST_F(PlatformLock, ADeadLauncherHoldsNothing) {
    const simulation::ProcessId holder = machine.start({L"C:\\zel\\zellauncher.exe"}, []() -> int {
        zellauncher::acquirePlatformLock({L"prog"}, L"C:\\ws", L"");
        platform::sleepMilliseconds(5000);
        platform::endWithAccessViolation();
    });
    machine.runUntilIdle(1);
    acquire();
    EXPECT_FALSE(machine.isRunning(holder));
    EXPECT_TRUE(isMain);
}

TEST_F(PlatformLock, IsReleasedOnceAndASecondReleaseIsNoFailure) {
    outcome = runQuietly([] {
        zellauncher::acquirePlatformLock({L"prog"}, L"C:\\ws", L"");
        zellauncher::releasePlatformLock();
        zellauncher::releasePlatformLock();
    });
    EXPECT_EQ(outcome.end.status, 0U);
    EXPECT_EQ(outcome.lastLine(), "ZLNCH0306I: lock file released @ 20260131_235900_000");
}

TEST_F(PlatformLock, AFailureToReleaseIsFatal) {
    fail("unlockStream", platform::errorAccessDenied);
    outcome = runQuietly([] {
        zellauncher::acquirePlatformLock({L"prog"}, L"C:\\ws", L"");
        zellauncher::releasePlatformLock();
    });
    expectFatal("ZLNCH0070E: Error unlocking platform lock file");
}

// Launchers in line for one workspace: the first one starts a platform, which publishes its pipe
// after a while.
class Line : public Workspace {
protected:
    void installPlatform(std::uint32_t publishesAfter) {
        machine.installProgram(L"C:\\eclipse.exe", [publishesAfter] {
            simulation::holdSemaphore(L"Global\\p1sem");
            platform::sleepMilliseconds(publishesAfter);
            zellauncher::TextStream pipe;
            zellauncher::openFile(pipe, endpoint, "w");
            zellauncher::putText(pipe, L"\\\\.\\pipe\\p1\n");
            zellauncher::closeTextStream(pipe);
            platform::sleepMilliseconds(3600000);
            return 0;
        });
    }
    simulation::ProcessId begin() {
        return machine.start({L"C:\\zel\\zellauncher.exe"}, [this] {
            zellauncher::acquirePlatformLock({L"prog"}, L"C:\\ws", L"eclipse.exe");
            owners.push_back(zellauncher::lockOwnerPid);
            if (!zellauncher::isMainProcess) {
                ++daemons;
            } else {
                platform::ChildProcess child;
                EXPECT_TRUE(platform::createProcess(L"C:\\eclipse.exe", {}, child));
                zellauncher::recordPlatformProcess(child.processId);
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
    int daemons = 0;
    std::vector<std::int32_t> owners;
};

TEST_F(Line, OneStartsThePlatformAndTheOthersFindIt) {
    installPlatform(14500);
    startTogether(3);
    ASSERT_EQ(machine.startedProcesses().size(), 1U);
    EXPECT_EQ(daemons, 2);
    const auto platformId = static_cast<std::int32_t>(machine.startedProcesses()[0].id);
    EXPECT_EQ(owners, (std::vector<std::int32_t>{0, platformId, platformId}));
    EXPECT_EQ(machine.readFile(lockFile), std::to_string(platformId) + "          ");
}

TEST_F(Line, APlatformThatPublishesTooLateGetsASecondOne) {
    installPlatform(20000);
    startTogether(2);
    EXPECT_EQ(machine.startedProcesses().size(), 2U);
    EXPECT_EQ(daemons, 0);
    EXPECT_GE(machine.elapsedMilliseconds(), 15000U);
}

TEST_F(PlatformLock, InvalidationBlanksTheRecordInPlace) {
    machine.writeFile(lockFile, "123456789012345678");
    outcome = run([] {
        zellauncher::lockFilePath = instancetest::lockFile;
        zellauncher::openLockFile();
        zellauncher::invalidateLockFile();
    });
    EXPECT_EQ(machine.readFile(lockFile), std::string(14, ' ') + "5678");
    EXPECT_EQ(outcome.log, "");
    simulation::Fault flushing;
    flushing.operation = "flushStream";
    flushing.argumentEndsWith = L".zel.lock";
    machine.inject(flushing);
    outcome = run([] {
        zellauncher::lockFilePath = instancetest::lockFile;
        zellauncher::openLockFile();
        zellauncher::invalidateLockFile();
    });
    EXPECT_EQ(outcome.log, "ZLNCH0052E: Unable to invalidate platform lock file\n");
}

class Restart : public Workspace {
protected:
    zellauncher::Arguments restartOf(simulation::ProcessId id) {
        return {L"prog", L"-restart", L"-zel_old_pid", std::to_wstring(id)};
    }
};

TEST_F(Restart, EndsWithinASecondOfTheOldPlatform) {
    for (const std::uint32_t lives : {0U, 5000U, 15000U}) {
        const simulation::ProcessId old = startPlatform(lives);
        const std::uint64_t begin = machine.elapsedMilliseconds();
        acquire(restartOf(old));
        EXPECT_TRUE(isMain);
        EXPECT_TRUE(isStale);
        const std::uint64_t waited = machine.elapsedMilliseconds() - begin;
        EXPECT_GE(waited, std::max(lives, 1000U) - 1);
        EXPECT_LE(waited, lives + 1000U);
    }
}

TEST_F(Restart, AnOldPlatformThatStaysLosesItsRecordAfterTwentySeconds) {
    const simulation::ProcessId old = startPlatform(3600000);
    const std::uint64_t begin = machine.elapsedMilliseconds();
    acquire(restartOf(old));
    EXPECT_EQ(machine.elapsedMilliseconds() - begin, 20000U);
    EXPECT_NE(
        outcome.log.find("ZLNCH0013E: Existing platform has not shutdown within allotted time. Invalidating "
                         "the lockfile for new launch.\n"),
        std::string::npos);
    EXPECT_TRUE(isMain);
    EXPECT_EQ(machine.readFile(lockFile), std::string(14, ' '));
}

TEST_F(Restart, ARecordThatCannotBeBlankedIsTriedEachSecond) {
    const simulation::ProcessId old = startPlatform(25000);
    simulation::Fault writing;
    writing.operation = "writeStream";
    writing.argumentEndsWith = L".zel.lock";
    writing.fromThenOn = true;
    machine.inject(writing);
    acquire(restartOf(old));
    std::size_t attempts = 0;
    for (std::size_t at = outcome.log.find("ZLNCH0052E"); at != std::string::npos;
         at = outcome.log.find("ZLNCH0052E", at + 1)) {
        ++attempts;
    }
    EXPECT_GE(attempts, 5U);
    EXPECT_TRUE(isMain);
}

TEST_F(Restart, AnotherOwnerEndsTheWaitAtOnce) {
    startPlatform(3600000);
    const std::uint64_t begin = machine.elapsedMilliseconds();
    acquire(restartOf(1));
    EXPECT_EQ(machine.elapsedMilliseconds() - begin, 1000U);
    EXPECT_FALSE(isMain);
}

TEST_F(Restart, WithoutANumberTheWaitEndsAfterTheFirstLook) {
    startPlatform(3600000);
    const std::uint64_t begin = machine.elapsedMilliseconds();
    acquire({L"prog", L"-restart"});
    EXPECT_EQ(machine.elapsedMilliseconds() - begin, 1000U);
    EXPECT_FALSE(isMain);
    acquire({L"prog", L"-restart", L"-zel_old_pid"});
    EXPECT_FALSE(isMain);
}

TEST_F(Restart, WhoIsNotAskedToWaitDoesNot) {
    startPlatform(3600000);
    const std::uint64_t begin = machine.elapsedMilliseconds();
    for (const zellauncher::Arguments& arguments :
         {zellauncher::Arguments{L"-restart"}, {L"prog", L"-Restart"}, {L"prog", L"-zel_old_pid", L"1"}}) {
        acquire(arguments);
        EXPECT_FALSE(isMain);
    }
    EXPECT_EQ(machine.elapsedMilliseconds(), begin);
}

TEST_F(Restart, ANumberThatIsNoneIsZero) {
    startPlatform(3600000);
    const std::uint64_t begin = machine.elapsedMilliseconds();
    acquire({L"prog", L"-restart", L"-zel_old_pid", L"p1"});
    EXPECT_EQ(machine.elapsedMilliseconds() - begin, 1000U);
    machine.writeFile(lockFile, "0          ");
    acquire({L"prog", L"-restart"});
    EXPECT_EQ(machine.elapsedMilliseconds() - begin, 21000U);  // 0 in the file fits the absent number
    EXPECT_TRUE(isMain);
}

TEST_F(Restart, APlatformThatEndsInTimeKeepsItsRecord) {
    const simulation::ProcessId old = startPlatform(18500);
    acquire(restartOf(old));
    EXPECT_TRUE(isMain);
    EXPECT_EQ(outcome.log.find("ZLNCH0013E"), std::string::npos);
    EXPECT_EQ(machine.readFile(lockFile), std::to_string(old) + "          ");
}

TEST_F(Restart, AnEndpointThatGoesAwayDoesNotEndTheWait) {
    const simulation::ProcessId old = startPlatform(10000);
    machine.start({L"C:\\eclipse.exe"}, [this] {
        platform::sleepMilliseconds(3500);
        machine.remove(endpoint);
        return 0;
    });
    const std::uint64_t begin = machine.elapsedMilliseconds();
    acquire(restartOf(old));
    EXPECT_GE(machine.elapsedMilliseconds() - begin, 9999U);
    EXPECT_LE(machine.elapsedMilliseconds() - begin, 11000U);
    EXPECT_TRUE(isMain);
    EXPECT_FALSE(isStale);
}

TEST_F(Restart, ANewOwnerEndsTheWait) {
    const simulation::ProcessId old = startPlatform(3600000);
    machine.start({L"C:\\eclipse.exe"}, [this] {
        platform::sleepMilliseconds(4500);
        machine.writeFile(lockFile, "1          ");
        return 0;
    });
    const std::uint64_t begin = machine.elapsedMilliseconds();
    acquire(restartOf(old));
    EXPECT_LE(machine.elapsedMilliseconds() - begin, 5000U);
    EXPECT_GE(machine.elapsedMilliseconds() - begin, 4499U);
    EXPECT_FALSE(isMain);
    EXPECT_EQ(owner, 1);
}

TEST_F(Restart, ARecordUnderALauncherAtWorkCannotBeReadAndTheLockDecides) {
    const simulation::ProcessId old = startPlatform(30000);
    machine.start({L"C:\\zel\\zellauncher.exe"}, [] {
        zellauncher::acquirePlatformLock({L"prog"}, L"C:\\ws", L"");
        platform::sleepMilliseconds(5000);
        return 0;
    });
    machine.runUntilIdle(1);
    const std::uint64_t begin = machine.elapsedMilliseconds();
    acquire(restartOf(old));
    EXPECT_TRUE(outcome.logHas("ZLNCH0091E: No data in the platform lock file."));
    EXPECT_LE(machine.elapsedMilliseconds() - begin, 6000U);
    EXPECT_FALSE(isMain);
    EXPECT_EQ(owner, static_cast<std::int32_t>(old));
}

TEST_F(Restart, AnotherUsersPlatformEndsTheStartBeforeTheLock) {
    machine.writeFile(lockFile, "4711          ");
    machine.writeFile(endpoint, "\\\\.\\pipe\\abc\r\n");
    machine.createSemaphore(L"Global\\abcsem", false);
    acquire({L"prog", L"-restart", L"-zel_old_pid", L"4711"});
    expectFatal("ZLNCH0303E: Unable to access process. Is it elevated? '");
    EXPECT_EQ(outcome.log.find("ZLNCH0303I"), std::string::npos);
}

TEST_F(Restart, WithoutAPlatformOnlyASecondPasses) {
    acquire({L"prog", L"-restart", L"-zel_old_pid", L"7"});
    EXPECT_EQ(machine.elapsedMilliseconds(), 1000U);
    EXPECT_TRUE(isMain);
}

}  // namespace
