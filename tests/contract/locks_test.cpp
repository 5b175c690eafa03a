#include "contract/children.h"
#include "contract/contract.h"

// Locks on the first bytes of a file.
namespace contract {
namespace {

using namespace platform;

class Locks : public Contract {
protected:
    // Runs the body with a stream of the file `f`, which has this content.
    void onStream(const std::string& content, const std::function<void(Stream*)>& body) {
        onMachine([&] {
            write(in(L"f"), content);
            Stream* stream = openStream(in(L"f"), "r+");
            body(stream);
            EXPECT_TRUE(closeStream(stream));
        });
    }
    // The same with two streams of the file.
    void onTwoStreams(const std::string& content, const std::function<void(Stream*, Stream*)>& body) {
        onStream(content, [&](Stream* first) {
            Stream* second = openStream(in(L"f"), "r+");
            body(first, second);
            closeStream(second);  // fails if the body left a write that the lock prevents
        });
    }
};

TEST_F(Locks, LockExcludesEveryOtherLock) {
    onTwoStreams("", [](Stream* first, Stream* second) {
        EXPECT_TRUE(lockStream(first, 100));
        EXPECT_FAILS(lockStream(second, 100), errorLockViolation);
        EXPECT_FAILS(lockStream(first, 100), errorLockViolation);
        EXPECT_TRUE(unlockStream(first, 100));
        EXPECT_TRUE(lockStream(second, 100));
    });
}

TEST_F(Locks, HolderCanReadAndWrite) {
    onStream("123", [&](Stream* stream) {
        EXPECT_TRUE(lockStream(stream, 100));
        EXPECT_EQ(readUpTo(stream, 10), "123");
        EXPECT_TRUE(rewindStream(stream));
        EXPECT_TRUE(writeStream(stream, "45"));
        EXPECT_TRUE(flushStream(stream));
        EXPECT_TRUE(unlockStream(stream, 100));
        EXPECT_EQ(read(in(L"f")), "453");
    });
}

TEST_F(Locks, ReadOnlyStreamCanLock) {
    onMachine([&] {
        write(in(L"f"), "x");
        Stream* first = openStream(in(L"f"), "r");
        Stream* second = openStream(in(L"f"), "r");
        EXPECT_TRUE(lockStream(first, 10));
        EXPECT_FAILS(lockStream(second, 1), errorLockViolation);
        closeStream(first);
        EXPECT_TRUE(lockStream(second, 1));
        closeStream(second);
    });
}

TEST_F(Locks, LockCanBeTakenAgainWithAnotherLength) {
    onStream("", [](Stream* stream) {
        EXPECT_TRUE(lockStream(stream, 10));
        EXPECT_TRUE(unlockStream(stream, 10));
        EXPECT_TRUE(lockStream(stream, 100));
        EXPECT_TRUE(unlockStream(stream, 100));
    });
}

TEST_F(Locks, LocksOfTwoFilesAreIndependent) {
    onMachine([&] {
        write(in(L"f"), "");
        write(in(L"g"), "");
        Stream* first = openStream(in(L"f"), "r+");
        Stream* second = openStream(in(L"g"), "r+");
        EXPECT_TRUE(lockStream(first, 10));
        EXPECT_TRUE(lockStream(second, 10));
        closeStream(first);
        closeStream(second);
    });
}

TEST_F(Locks, OtherStreamsCannotReadLockedBytes) {
    SKIP_UNDER_WINE("lets a lock exclude only other locks");
    onTwoStreams("123", [](Stream* holder, Stream* other) {
        EXPECT_TRUE(lockStream(holder, 100));
        char buffer[10];
        const ReadResult result = readStream(other, buffer, sizeof(buffer));
        EXPECT_FAILS(result, errorLockViolation);
        EXPECT_EQ(result.count, 0U);
    });
}

TEST_F(Locks, OtherStreamsCanReadUnlockedBytes) {
    onTwoStreams("123", [](Stream* holder, Stream* other) {
        EXPECT_TRUE(lockStream(holder, 100));
        EXPECT_TRUE(unlockStream(holder, 100));
        EXPECT_EQ(readUpTo(other, 10), "123");
    });
}

TEST_F(Locks, OtherStreamsCannotWriteLockedBytes) {
    SKIP_UNDER_WINE("lets a lock exclude only other locks");
    onTwoStreams("123", [](Stream* holder, Stream* other) {
        EXPECT_TRUE(lockStream(holder, 10));
        EXPECT_TRUE(writeStream(other, "x"));
        EXPECT_FAILS(flushStream(other), errorLockViolation);
        EXPECT_TRUE(unlockStream(holder, 10));
    });
}

TEST_F(Locks, CloseReportsAFailedWrite) {
    SKIP_UNDER_WINE("lets a lock exclude only other locks");
    onMachine([&] {
        write(in(L"f"), "123");
        Stream* holder = openStream(in(L"f"), "r+");
        Stream* other = openStream(in(L"f"), "r+");
        EXPECT_TRUE(lockStream(holder, 10));
        EXPECT_TRUE(writeStream(other, "x"));
        EXPECT_FAILS(closeStream(other), errorLockViolation);
        closeStream(holder);
        EXPECT_EQ(read(in(L"f")), "123");
    });
}

TEST_F(Locks, OtherStreamsCanWriteAfterTheLockedBytes) {
    onStream("0123456789", [&](Stream* holder) {
        EXPECT_TRUE(lockStream(holder, 10));
        Stream* appender = openStream(in(L"f"), "a+");
        EXPECT_TRUE(writeStream(appender, "x"));
        EXPECT_TRUE(flushStream(appender));
        closeStream(appender);
        EXPECT_TRUE(unlockStream(holder, 10));
        EXPECT_EQ(read(in(L"f")), "0123456789x");
    });
}

TEST_F(Locks, ClosingTheStreamReleasesTheLock) {
    onMachine([&] {
        write(in(L"f"), "");
        Stream* first = openStream(in(L"f"), "r+");
        EXPECT_TRUE(lockStream(first, 100));
        closeStream(first);
        Stream* second = openStream(in(L"f"), "r+");
        EXPECT_TRUE(lockStream(second, 100));
        closeStream(second);
    });
}

TEST_F(Locks, EndOfTheProcessReleasesTheLock) {
    onMachine([&] {
        write(in(L"f"), "");
        const Holder holder = startHolder(scratch, L"lock", in(L"f"));
        Stream* stream = openStream(in(L"f"), "r+");
        ASSERT_NE(stream, nullptr);
        EXPECT_FAILS(lockStream(stream, 10), errorLockViolation);
        release(holder);
        EXPECT_TRUE(lockStream(stream, 10));
        closeStream(stream);
    });
}

TEST_F(Locks, ChildDoesNotInheritTheLock) {
    onMachine([&] {
        write(in(L"f"), "x");
        Stream* stream = openStream(in(L"f"), "r+");
        EXPECT_TRUE(lockStream(stream, 100));
        const Holder child = startHolder(scratch, L"semaphore", L"Global\\zl-contract-lock");
        EXPECT_TRUE(closeStream(stream));
        stream = openStream(in(L"f"), "r+");
        EXPECT_TRUE(lockStream(stream, 100)) << lastError();
        EXPECT_TRUE(closeStream(stream));
        release(child);
    });
}

TEST_F(Locks, PartOfALockCannotBeReleased) {
    onTwoStreams("", [](Stream* holder, Stream* other) {
        EXPECT_TRUE(lockStream(holder, 10));
        EXPECT_FALSE(unlockStream(holder, 5));
        EXPECT_FALSE(unlockStream(other, 10));
        EXPECT_FAILS(lockStream(other, 10), errorLockViolation);
    });
}

TEST_F(Locks, UnlockWithoutALockFails) {
    const ErrorCode notLocked = isWine() ? errorLockViolation : errorNotLocked;  // Wine's own error code
    onStream("", [&](Stream* stream) {
        EXPECT_FAILS(unlockStream(stream, 100), notLocked);
        EXPECT_TRUE(lockStream(stream, 100));
        EXPECT_TRUE(unlockStream(stream, 100));
        EXPECT_FAILS(unlockStream(stream, 100), notLocked);
    });
}

}  // namespace
}  // namespace contract
