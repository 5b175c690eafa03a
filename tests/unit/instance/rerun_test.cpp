#include "instance/rerun.h"

#include <functional>

#include "instance/process_record.h"
#include "support/text.h"
#include "unit/instance/workspace_fixture.h"

namespace {

using instancetest::lockFile;
using instancetest::pipeFile;
using instancetest::Workspace;
using launchertest::countOccurrences;
using launchertest::failing;
using launchertest::failingFrom;

const std::wstring crashedPipeFile = std::wstring(pipeFile) + L".crashed";
constexpr std::uint32_t ownPlatform = 4711;
const std::string otherOwner =
    "ZELLauncher> another launcher has started a platform; it is not started again here";
const std::string withoutLock =
    "ZELLauncher> the lock cannot be taken; the platform is started again without it";

// A launcher has started platform 4711, which has crashed and left its pipe file.
class Rerun : public Workspace {
protected:
    bool isClaimed = false;
    std::uint64_t waited = 0;

    // Claims the rerun after `prepare`, which runs once the launcher has released the lock.
    void claim(
        const std::function<void()>& prepare = [] {}, const std::function<void()>& afterwards = [] {}) {
        outcome = run([&] {
            zellauncher::acquirePlatformLock({L"prog"}, L"C:\\ws");
            writePipeFile("gone");
            zellauncher::recordPlatformProcess(ownPlatform);
            zellauncher::releasePlatformLock();
            prepare();
            const std::uint64_t begin = machine.elapsedMilliseconds();
            isClaimed = zellauncher::claimRerun();
            waited = machine.elapsedMilliseconds() - begin;
            afterwards();
        });
    }
    // Another launcher's platform runs and has published.
    void startOtherPlatform() {
        machine.writeFile(lockFile, "815            ");
        writePipeFile("other");
        machine.createSemaphore(L"Global\\othersem", simulation::SemaphoreAccess::granted);
    }
    static bool canLock() {
        zellauncher::TextStream other = zellauncher::openFile(lockFile, "r+");
        const bool isLocked = platform::lockStream(other.stream, 100);
        zellauncher::closeTextStream(other);
        return isLocked;
    }
    // Another launcher holds the lock for this time.
    void holdLock(std::uint32_t milliseconds) {
        machine.start({L"C:\\zel\\zellauncher.exe"}, [milliseconds] {
            zellauncher::TextStream stream = zellauncher::openFile(lockFile, "r+");
            platform::lockStream(stream.stream, 100);
            platform::sleepMilliseconds(milliseconds);
            return 0;
        });
        platform::sleepMilliseconds(1);
    }
};

TEST_F(Rerun, TakesTheLockAgain) {
    bool isFree = true;
    claim([] {}, [&] { isFree = canLock(); });
    EXPECT_TRUE(isClaimed);
    EXPECT_FALSE(isFree);
    EXPECT_EQ(waited, 0U);
    EXPECT_EQ(outcome.log.find("ZELLauncher>"), std::string::npos) << outcome.log;
}

TEST_F(Rerun, SetsThePipeFileAside) {
    claim();
    EXPECT_FALSE(machine.exists(pipeFile));
    EXPECT_EQ(machine.readFile(crashedPipeFile), "\\\\.\\pipe\\gone\r\n");
}

TEST_F(Rerun, WaitsForTheNewPipeFile) {
    claim([] {},
          [&] {
              const std::uint64_t begin = machine.elapsedMilliseconds();
              zellauncher::recordPlatformProcess(4712);
              EXPECT_EQ(machine.elapsedMilliseconds() - begin, 15000U);
              EXPECT_TRUE(machine.exists(crashedPipeFile));
              writePipeFile("new");
              zellauncher::recordPlatformProcess(4713);
              EXPECT_FALSE(machine.exists(crashedPipeFile));
          });
    EXPECT_EQ(machine.readFile(pipeFile), "\\\\.\\pipe\\new\r\n");
}

TEST_F(Rerun, OnlyAPipeFileThatWasSetAsideIsDeleted) {
    outcome = run([this] {
        zellauncher::acquirePlatformLock({L"prog"}, L"C:\\ws");
        writePipeFile("first");
        machine.writeFile(crashedPipeFile, "older");
        zellauncher::recordPlatformProcess(ownPlatform);
        EXPECT_TRUE(machine.exists(crashedPipeFile));
        EXPECT_EQ(machine.readFile(lockFile).value_or("").substr(0, 5), "4711 ");  // already on the disk
    });
    claim([] {},
          [&] {
              writePipeFile("new");
              zellauncher::recordPlatformProcess(4712);
              machine.writeFile(crashedPipeFile, "older");
              zellauncher::recordPlatformProcess(4713);
          });
    EXPECT_TRUE(machine.exists(crashedPipeFile));
}

TEST_F(Rerun, PlatformOfAnotherLauncherPreventsIt) {
    bool isFree = false;
    claim([this] { startOtherPlatform(); }, [&] { isFree = canLock(); });
    EXPECT_FALSE(isClaimed);
    EXPECT_TRUE(isFree);
    EXPECT_TRUE(outcome.logHas(otherOwner)) << outcome.log;
    EXPECT_EQ(countOccurrences(outcome.log, "ZLNCH0306I"), 2U);
    EXPECT_TRUE(machine.exists(pipeFile));
    EXPECT_EQ(machine.readFile(lockFile), "815            ");
}

TEST_F(Rerun, OtherOwnerIsFoundAgain) {
    claim([this] { startOtherPlatform(); },
          [] {
              EXPECT_TRUE(zellauncher::isOtherOwnerAlive(ownPlatform));
              EXPECT_TRUE(zellauncher::isOtherOwnerAlive(ownPlatform));
          });
}

TEST_F(Rerun, DeadPlatformOfAnotherLauncherDoesNot) {
    claim([this] {
        startOtherPlatform();
        machine.removeSemaphore(L"Global\\othersem");
    });
    EXPECT_TRUE(isClaimed);
}

// A daemon may hold the semaphore of the platform that has crashed for a moment.
TEST_F(Rerun, SemaphoreOfTheOwnPlatformDoesNot) {
    claim([this] { machine.createSemaphore(L"Global\\gonesem", simulation::SemaphoreAccess::granted); });
    EXPECT_TRUE(isClaimed);
}

TEST_F(Rerun, ElevatedPlatformOfAnotherLauncherPreventsIt) {
    claim([this] {
        machine.writeFile(lockFile, "815            ");
        writePipeFile("other");
        machine.createSemaphore(L"Global\\othersem", simulation::SemaphoreAccess::denied);
    });
    EXPECT_FALSE(isClaimed);
}

// The launcher must not end, because nobody else would start a platform.
TEST_F(Rerun, UnreadableLockFileDoesNot) {
    for (const char* content : {"no number", "", "              "}) {
        machine.remove(lockFile);
        claim([&] {
            startOtherPlatform();
            machine.writeFile(lockFile, content);
        });
        EXPECT_EQ(outcome.processEnd().status, 0U);
        EXPECT_TRUE(isClaimed) << content;
        machine.removeSemaphore(L"Global\\othersem");
    }
    machine.remove(lockFile);
    claim([this] {
        startOtherPlatform();
        machine.inject(failing("readStream", platform::errorAccessDenied, L".zel.lock"));
    });
    EXPECT_TRUE(isClaimed);
}

TEST_F(Rerun, UnusablePipeFileDoesNot) {
    for (const char* content : {"", "no backslash"}) {
        claim([&] {
            startOtherPlatform();
            machine.writeFile(pipeFile, content);
        });
        EXPECT_TRUE(isClaimed) << content;
        machine.removeSemaphore(L"Global\\othersem");
    }
}

// The name that was read at the start belongs to an earlier platform.
TEST_F(Rerun, PipeFileIsReadAgain) {
    claim([this] {
        zellauncher::pipeName = L"\\\\.\\pipe\\older";
        startOtherPlatform();
    });
    EXPECT_FALSE(isClaimed);
}

TEST_F(Rerun, SemaphoreIsClosedAgain) {
    claim(
        [this] {
            machine.writeFile(lockFile, "815            ");
            writePipeFile("other");
            machine.start({L"C:\\eclipse.exe"}, [] {
                simulation::holdSemaphore(L"Global\\othersem");
                platform::sleepMilliseconds(1000);
                return 0;
            });
            platform::sleepMilliseconds(1);
        },
        [&] {
            platform::sleepMilliseconds(2000);
            EXPECT_TRUE(zellauncher::claimRerun());
        });
    EXPECT_FALSE(isClaimed);
}

TEST_F(Rerun, WaitsForALauncherThatHoldsTheLock) {
    claim([this] { holdLock(100000); });
    EXPECT_TRUE(isClaimed);
    EXPECT_GE(waited, 99999U);
    EXPECT_LE(waited, 101000U);
    EXPECT_FALSE(machine.exists(pipeFile));
}

TEST_F(Rerun, HappensWithoutTheLockAfterFiveMinutes) {
    claim([this] { holdLock(3600000); });
    EXPECT_TRUE(isClaimed);
    EXPECT_EQ(waited, 297000U);
    EXPECT_TRUE(outcome.logHas(withoutLock)) << outcome.log;
    EXPECT_TRUE(machine.exists(pipeFile));  // perhaps that of the other launcher's platform
}

TEST_F(Rerun, HappensWithoutALockThatCannotBeTaken) {
    claim([this] { machine.inject(failingFrom("lockStream", platform::errorAccessDenied)); });
    EXPECT_TRUE(isClaimed);
    EXPECT_EQ(waited, 0U);
    EXPECT_TRUE(outcome.logHas(withoutLock)) << outcome.log;
}

TEST_F(Rerun, PipeFileThatIsOpenIsSetAsideOnceItsReaderCloses) {
    claim([this] {
        machine.start({L"C:\\reader.exe"}, [] {
            platform::Stream* stream = platform::openStream(pipeFile, "r");
            platform::sleepMilliseconds(250);
            platform::closeStream(stream);
            return 0;
        });
        platform::sleepMilliseconds(1);
    });
    EXPECT_TRUE(isClaimed);
    EXPECT_EQ(waited, 300U);
    EXPECT_TRUE(machine.exists(crashedPipeFile));
}

TEST_F(Rerun, PipeFileThatStaysOpenDelaysItByOneSecond) {
    claim([this] { machine.holdOpen(pipeFile); });
    EXPECT_TRUE(isClaimed);
    EXPECT_EQ(waited, 1000U);
    EXPECT_TRUE(machine.exists(pipeFile));
}

TEST_F(Rerun, OlderPipeFileThatWasSetAsideIsReplaced) {
    machine.writeFile(crashedPipeFile, "older");
    claim([this] { machine.writeFile(crashedPipeFile, "older"); });
    EXPECT_EQ(machine.readFile(crashedPipeFile), "\\\\.\\pipe\\gone\r\n");
    EXPECT_EQ(waited, 0U);
}

// The crashed platform is started again and does not publish before the machine is shut down.
TEST_F(Rerun, NextStartSeesTheCrash) {
    claim();
    acquire();
    EXPECT_TRUE(isMain);
    EXPECT_TRUE(isStale);
    EXPECT_FALSE(machine.exists(crashedPipeFile));
    acquire();
    EXPECT_FALSE(isStale);
}

}  // namespace
