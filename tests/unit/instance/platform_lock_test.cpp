#include "instance/platform_lock.h"

#include <algorithm>

#include "foundation/log_channel.h"
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

TEST_F(Restart, WithoutAPlatformOnlyASecondPasses) {
    acquire({L"prog", L"-restart", L"-zel_old_pid", L"7"});
    EXPECT_EQ(machine.elapsedMilliseconds(), 1000U);
    EXPECT_TRUE(isMain);
}

}  // namespace
