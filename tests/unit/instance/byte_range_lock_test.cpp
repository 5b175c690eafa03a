#include "instance/byte_range_lock.h"

#include "unit/instance/workspace_fixture.h"

namespace {

using zellauncher::LockAnswer;
using zellauncher::TextStream;

class ByteRangeLock : public instancetest::Workspace {
protected:
    LockAnswer lock(bool isHeldByOther) {
        machine.writeFile(L"C:\\f", "text");
        LockAnswer answer = LockAnswer::failed;
        runQuietly([&] {
            TextStream other;
            zellauncher::openFile(other, L"C:\\f", "r+");
            if (isHeldByOther) {
                EXPECT_EQ(zellauncher::lockFileHead(other, 100), LockAnswer::done);
            }
            TextStream file;
            zellauncher::openFile(file, L"C:\\f", "r+");
            answer = zellauncher::lockFileHead(file, 100);
        });
        return answer;
    }
};

TEST_F(ByteRangeLock, IsTakenAtOnceWhenItIsFree) {
    EXPECT_EQ(lock(false), LockAnswer::done);
    EXPECT_EQ(machine.elapsedMilliseconds(), 0U);
}

TEST_F(ByteRangeLock, TenAttemptsASecondApartAreMade) {
    EXPECT_EQ(lock(true), LockAnswer::deadlock);
    EXPECT_EQ(machine.elapsedMilliseconds(), 9000U);
}

TEST_F(ByteRangeLock, AnyOtherFailureIsAnswered) {
    fail("lockStream", platform::errorInvalidHandle);
    EXPECT_EQ(lock(false), LockAnswer::failed);
}

TEST_F(ByteRangeLock, WhatIsNotHeldIsToldApart) {
    machine.writeFile(L"C:\\f", "");
    runQuietly([&] {
        TextStream file;
        zellauncher::openFile(file, L"C:\\f", "r+");
        EXPECT_EQ(zellauncher::unlockFileHead(file, 100), LockAnswer::notLocked);
        EXPECT_EQ(zellauncher::lockFileHead(file, 100), LockAnswer::done);
        EXPECT_EQ(zellauncher::unlockFileHead(file, 100), LockAnswer::done);
        fail("unlockStream", platform::errorLockViolation);
        EXPECT_EQ(zellauncher::unlockFileHead(file, 100), LockAnswer::notLocked);
        fail("unlockStream", platform::errorAccessDenied);
        EXPECT_EQ(zellauncher::unlockFileHead(file, 100), LockAnswer::failed);
    });
}

}  // namespace
