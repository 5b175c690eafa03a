#include "instance/lock_owner.h"

#include "platform/own_process.h"
#include "support/operations.h"
#include "unit/instance/workspace_fixture.h"

namespace {

using instancetest::lockFile;
using instancetest::pipeFile;
using instancetest::Workspace;
using launchertest::failing;
using simulation::SemaphoreAccess;
using zellauncher::SemaphoreUse;

class LockOwner : public Workspace {
protected:
    bool isAlive() {
        bool answer = false;
        outcome = run([&] {
            usePaths();
            if (machine.exists(lockFile)) {
                zellauncher::openLockFile();
            }
            answer = zellauncher::isLockOwnerAlive(SemaphoreUse::keepOpen);
            owner = zellauncher::lockOwnerPid;
        });
        return answer;
    }
    // Leaves the files and the semaphore of a platform 4711 that is running.
    void leaveLivePlatform() {
        machine.writeFile(lockFile, "4711");
        writePipeFile("abc");
        machine.createSemaphore(L"Global\\abcsem", SemaphoreAccess::granted);
    }
};

TEST_F(LockOwner, MissingLockFileHasNoOwner) {
    EXPECT_FALSE(isAlive());
    EXPECT_EQ(outcome.log, "");
}

TEST_F(LockOwner, BlankLockFileHasNoOwner) {
    for (const std::string& content : {std::string(), std::string(14, ' '), std::string("\r\n")}) {
        machine.writeFile(lockFile, content);
        EXPECT_FALSE(isAlive());
        EXPECT_EQ(outcome.log,
                  "ZLNCH0090E: Existing platform lock file found - checking validity.\n"
                  "ZLNCH0091E: No data in the platform lock file.\n");
    }
}

// What a power failure can leave: the length of the file without its content. The blanks are of a restart
// that wrote over the beginning of such a file.
TEST_F(LockOwner, ZeroFilledLockFileHasNoOwner) {
    for (const std::string& content :
         {std::string(1, '\0'), std::string(14, '\0'), std::string(9000, '\0'),
          std::string(4, ' ') + std::string(10, '\0'), std::string(14, ' ') + std::string(6, '\0')}) {
        machine.writeFile(lockFile, content);
        EXPECT_FALSE(isAlive());
        EXPECT_EQ(outcome.lastLine(), "ZLNCH0091E: No data in the platform lock file.");
        EXPECT_EQ(owner, 0);
    }
}

TEST_F(LockOwner, NonNumericLockFileIsFatal) {
    for (const std::string& content :
         {std::string("abc"), std::string(" -"), std::string(14, '\0') + "4711", std::string("\0 ", 2),
          std::string("\0abc", 4), std::string(5000, '\0') + "x", std::string("-\0", 2)}) {
        machine.writeFile(lockFile, content);
        isAlive();
        outcome.expectFatal("ZLNCH0092E: Error reading platform lock file.");
    }
}

TEST_F(LockOwner, UnreadableLockFileHasNoOwner) {
    machine.writeFile(lockFile, "4711");
    // The first read looks for a Ctrl-Z at the end.
    machine.inject(failing("readStream", platform::errorLockViolation, L".zel.lock", 2));
    EXPECT_FALSE(isAlive());
    EXPECT_EQ(outcome.lastLine(), "ZLNCH0091E: No data in the platform lock file.");
    EXPECT_EQ(owner, 0);
    // The third read is the last one of a file of NUL bytes.
    machine.writeFile(lockFile, std::string(14, '\0'));
    machine.inject(failing("readStream", platform::errorLockViolation, L".zel.lock", 3));
    isAlive();
    outcome.expectFatal("ZLNCH0092E: Error reading platform lock file.");
}

TEST_F(LockOwner, ProgressIsLoggedOnlyWithTheDebugFlag) {
    machine.writeFile(lockFile, "");
    outcome = runQuietly([] {
        zellauncher::lockFilePath = lockFile;
        zellauncher::openLockFile();
        EXPECT_FALSE(zellauncher::isLockOwnerAlive(SemaphoreUse::keepOpen));
    });
    EXPECT_EQ(outcome.log, "");
}

TEST_F(LockOwner, DeadOwnersProcessIdIsRead) {
    machine.writeFile(lockFile, "  -12x");
    EXPECT_FALSE(isAlive());
    EXPECT_EQ(owner, -12);
    machine.writeFile(lockFile, "99999999999999999999");
    EXPECT_FALSE(isAlive());
    EXPECT_EQ(owner, 2147483647);
}

TEST_F(LockOwner, OnlyTheSemaphoreProvesLife) {
    machine.writeFile(lockFile, "4711");
    EXPECT_FALSE(isAlive());
    writePipeFile("abc");
    EXPECT_FALSE(isAlive());
    machine.createSemaphore(L"Global\\abcsem", SemaphoreAccess::granted);
    EXPECT_TRUE(isAlive());
    EXPECT_EQ(launchertest::callsOf(machine, "openSemaphore").back().numbers[0], 0x20002U);
}

TEST_F(LockOwner, PipeNameWithoutBackslashHasNoOwner) {
    machine.writeFile(lockFile, "4711");
    machine.writeFile(pipeFile, "abc\r\n");
    machine.createSemaphore(L"Globalabcsem", SemaphoreAccess::granted);
    machine.createSemaphore(L"Global\\abcsem", SemaphoreAccess::granted);
    EXPECT_FALSE(isAlive());
}

TEST_F(LockOwner, SemaphoreNameUsesTheLastPipeComponent) {
    machine.writeFile(lockFile, "4711");
    writePipeFile("a\\b/c");
    machine.createSemaphore(L"Global\\a\\b/csem", SemaphoreAccess::granted);
    EXPECT_FALSE(isAlive());
    machine.createSemaphore(L"Global\\b/csem", SemaphoreAccess::granted);
    EXPECT_TRUE(isAlive());
    writePipeFile("");
    machine.createSemaphore(L"Global\\sem", SemaphoreAccess::granted);
    EXPECT_TRUE(isAlive());
}

TEST_F(LockOwner, DeniedSemaphoreIsFatal) {
    leavePlatformOfOtherUser();
    isAlive();
    expectAccessDenied();
}

TEST_F(LockOwner, AnyOtherSemaphoreErrorMeansDead) {
    leaveLivePlatform();
    machine.inject(failing("openSemaphore", platform::errorInvalidHandle));
    EXPECT_FALSE(isAlive());
}

TEST_F(LockOwner, UnreadablePipeFileMeansDead) {
    leaveLivePlatform();
    machine.refuse(pipeFile, platform::errorAccessDenied);
    EXPECT_FALSE(isAlive());
}

TEST_F(LockOwner, ClosedSemaphoreEndsWithThePlatform) {
    const simulation::ProcessId old = startPlatform(1000);
    runQuietly([&] {
        usePaths();
        zellauncher::openLockFile();
        EXPECT_TRUE(zellauncher::isLockOwnerAlive(SemaphoreUse::closeAtOnce));
        platform::sleepMilliseconds(2000);
        EXPECT_FALSE(zellauncher::isLockOwnerAlive(SemaphoreUse::closeAtOnce));
    });
    EXPECT_FALSE(machine.isRunning(old));
}

TEST_F(LockOwner, OpenSemaphoreOutlivesThePlatform) {
    startPlatform(1000);
    runQuietly([&] {
        usePaths();
        zellauncher::openLockFile();
        EXPECT_TRUE(zellauncher::isLockOwnerAlive(SemaphoreUse::keepOpen));
        platform::sleepMilliseconds(2000);
        EXPECT_TRUE(zellauncher::isLockOwnerAlive(SemaphoreUse::keepOpen));
    });
}

}  // namespace
