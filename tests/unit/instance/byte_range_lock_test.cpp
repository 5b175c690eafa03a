#include "instance/byte_range_lock.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "support/faults.h"
#include "support/launcher_fixture.h"

namespace {

using launchertest::failing;
using zellauncher::LockAnswer;
using zellauncher::TextStream;

enum class OtherLock { none, held };

class ByteRangeLock : public launchertest::OnMachine {
protected:
    LockAnswer lock(OtherLock otherLock) {
        machine.writeFile(L"C:\\f", "text");
        LockAnswer answer = LockAnswer::failed;
        runQuietly([&] {
            TextStream other = zellauncher::openFile(L"C:\\f", "r+");
            if (otherLock == OtherLock::held) {
                EXPECT_EQ(zellauncher::lockFileHead(other, 100), LockAnswer::done);
            }
            TextStream file = zellauncher::openFile(L"C:\\f", "r+");
            answer = zellauncher::lockFileHead(file, 100);
        });
        return answer;
    }
};

TEST_F(ByteRangeLock, FreeRangeIsLockedAtOnce) {
    EXPECT_EQ(lock(OtherLock::none), LockAnswer::done);
    EXPECT_EQ(machine.elapsedMilliseconds(), 0U);
}

TEST_F(ByteRangeLock, HeldRangeIsTriedForNineSeconds) {
    EXPECT_EQ(lock(OtherLock::held), LockAnswer::deadlock);
    EXPECT_EQ(machine.elapsedMilliseconds(), 9000U);
    const auto isAttempt = [](const simulation::Operation& made) { return made.name == "lockStream"; };
    EXPECT_EQ(std::count_if(machine.operations().begin(), machine.operations().end(), isAttempt), 1 + 181);
}

// The clock decides. Here it is 49 milliseconds ahead of the pauses.
TEST_F(ByteRangeLock, NoAttemptIsTheLastBeforeNineSeconds) {
    machine.stallOnce({"sleepMilliseconds", {}, 49});
    EXPECT_EQ(lock(OtherLock::held), LockAnswer::deadlock);
    EXPECT_EQ(machine.elapsedMilliseconds(), 9049U);
}

TEST_F(ByteRangeLock, AnyOtherErrorFails) {
    machine.inject(failing("lockStream", platform::errorInvalidHandle));
    EXPECT_EQ(lock(OtherLock::none), LockAnswer::failed);
}

TEST_F(ByteRangeLock, UnlockDistinguishesNotLockedFromFailed) {
    machine.writeFile(L"C:\\f", "");
    runQuietly([&] {
        TextStream file = zellauncher::openFile(L"C:\\f", "r+");
        EXPECT_EQ(zellauncher::unlockFileHead(file, 100), LockAnswer::notLocked);
        EXPECT_EQ(zellauncher::lockFileHead(file, 100), LockAnswer::done);
        EXPECT_EQ(zellauncher::unlockFileHead(file, 100), LockAnswer::done);
        machine.inject(failing("unlockStream", platform::errorLockViolation));
        EXPECT_EQ(zellauncher::unlockFileHead(file, 100), LockAnswer::notLocked);
        machine.inject(failing("unlockStream", platform::errorAccessDenied));
        EXPECT_EQ(zellauncher::unlockFileHead(file, 100), LockAnswer::failed);
    });
}

// Otherwise the next owner of the lock could read the file without it.
TEST_F(ByteRangeLock, BufferedTextIsWrittenBeforeTheLockIsReleased) {
    machine.writeFile(L"C:\\f", "");
    runQuietly([&] {
        TextStream file = zellauncher::openFile(L"C:\\f", "r+");
        EXPECT_EQ(zellauncher::lockFileHead(file, 100), LockAnswer::done);
        EXPECT_EQ(zellauncher::putText(file, L"text"), 4);
        EXPECT_EQ(machine.readFile(L"C:\\f"), "");
        EXPECT_EQ(zellauncher::unlockFileHead(file, 100), LockAnswer::done);
        EXPECT_EQ(machine.readFile(L"C:\\f"), "text");
    });
}

}  // namespace
