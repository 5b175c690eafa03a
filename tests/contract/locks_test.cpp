#include "contract/children.h"
#include "contract/contract.h"

namespace {

using contract::Holder;
using contract::isWine;
using contract::letGo;
using contract::read;
using contract::startHolder;
using contract::take;
using contract::write;
using namespace platform;

// Locks on the head of a file: who gets them, what they keep others from, and when they go.
class Locks : public contract::Contract {
protected:
    // One stream of the file `f`, which has this content, for the body.
    void onStream(const std::string& content, const std::function<void(Stream*)>& body) {
        onMachine([&] {
            write(in(L"f"), content);
            Stream* stream = openStream(in(L"f"), "r+");
            body(stream);
            EXPECT_TRUE(closeStream(stream));
        });
    }
    // Two streams of it, one beside the other.
    void onTwoStreams(const std::string& content, const std::function<void(Stream*, Stream*)>& body) {
        onStream(content, [&](Stream* first) {
            Stream* second = openStream(in(L"f"), "r+");
            body(first, second);
            closeStream(second);  // what it could not write shows here
        });
    }
};

TEST_F(Locks, OneHolderOfALockKeepsTheOthersOut) {
    onTwoStreams("", [](Stream* first, Stream* second) {
        EXPECT_TRUE(lockStream(first, 100));
        EXPECT_FAILS(lockStream(second, 100), errorLockViolation);
        EXPECT_FAILS(lockStream(first, 100), errorLockViolation);
        EXPECT_TRUE(unlockStream(first, 100));
        EXPECT_TRUE(lockStream(second, 100));
    });
}

TEST_F(Locks, TheHolderOfALockReadsAndWrites) {
    onStream("123", [&](Stream* stream) {
        EXPECT_TRUE(lockStream(stream, 100));
        EXPECT_EQ(take(stream, 10), "123");
        EXPECT_TRUE(rewindStream(stream));
        EXPECT_TRUE(writeStream(stream, "45"));
        EXPECT_TRUE(flushStream(stream));
        EXPECT_TRUE(unlockStream(stream, 100));
        EXPECT_EQ(read(in(L"f")), "453");
    });
}

TEST_F(Locks, AReaderMayLock) {
    onMachine([&] {
        write(in(L"f"), "x");
        Stream* one = openStream(in(L"f"), "r");
        Stream* other = openStream(in(L"f"), "r");
        EXPECT_TRUE(lockStream(one, 10));
        EXPECT_FAILS(lockStream(other, 1), errorLockViolation);
        closeStream(one);
        EXPECT_TRUE(lockStream(other, 1));
        closeStream(other);
    });
}

TEST_F(Locks, ALockIsTakenAnewWithAnotherLength) {
    onStream("", [](Stream* stream) {
        EXPECT_TRUE(lockStream(stream, 10));
        EXPECT_TRUE(unlockStream(stream, 10));
        EXPECT_TRUE(lockStream(stream, 100));
        EXPECT_TRUE(unlockStream(stream, 100));
    });
}

TEST_F(Locks, LocksOfTwoFilesDoNotMeet) {
    onMachine([&] {
        write(in(L"f"), "");
        write(in(L"g"), "");
        Stream* one = openStream(in(L"f"), "r+");
        Stream* other = openStream(in(L"g"), "r+");
        EXPECT_TRUE(lockStream(one, 10));
        EXPECT_TRUE(lockStream(other, 10));
        closeStream(one);
        closeStream(other);
    });
}

TEST_F(Locks, OthersCannotReadWhatIsLocked) {
    onTwoStreams("123", [](Stream* holder, Stream* other) {
        EXPECT_TRUE(lockStream(holder, 100));
        if (!isWine()) {  // Wine's locks keep other locks out, and no readers
            EXPECT_EQ(take(other, 10), "");
            EXPECT_EQ(lastError(), errorLockViolation);
        }
        EXPECT_TRUE(unlockStream(holder, 100));
        EXPECT_TRUE(rewindStream(other));
        EXPECT_EQ(take(other, 10), "123");
    });
}

TEST_F(Locks, OthersCannotWriteIntoWhatIsLocked) {
    onTwoStreams("123", [](Stream* holder, Stream* other) {
        EXPECT_TRUE(lockStream(holder, 10));
        EXPECT_TRUE(writeStream(other, "x"));
        if (!isWine()) {  // Wine's locks keep other locks out, and no writers
            EXPECT_FAILS(flushStream(other), errorLockViolation);
        }
        EXPECT_TRUE(unlockStream(holder, 10));
    });
}

TEST_F(Locks, AClosingThatCannotWriteTells) {
    onMachine([&] {
        write(in(L"f"), "123");
        Stream* holder = openStream(in(L"f"), "r+");
        Stream* other = openStream(in(L"f"), "r+");
        EXPECT_TRUE(lockStream(holder, 10));
        EXPECT_TRUE(writeStream(other, "x"));
        if (isWine()) {  // Wine's locks keep other locks out, and no writers
            EXPECT_TRUE(closeStream(other));
        } else {
            EXPECT_FAILS(closeStream(other), errorLockViolation);
        }
        closeStream(holder);
        EXPECT_EQ(read(in(L"f")), isWine() ? "x23" : "123");
    });
}

TEST_F(Locks, BytesBehindALockAreWrittenByAnyone) {
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

TEST_F(Locks, ALockGoesWithItsStream) {
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

TEST_F(Locks, ALockHoldsAgainstOtherProcessesAndGoesWithItsHolder) {
    onMachine([&] {
        write(in(L"f"), "");
        const Holder holder = startHolder(scratch, L"lock", in(L"f"));
        Stream* stream = openStream(in(L"f"), "r+");
        ASSERT_NE(stream, nullptr);
        EXPECT_FAILS(lockStream(stream, 10), errorLockViolation);
        letGo(holder);
        EXPECT_TRUE(lockStream(stream, 10));
        closeStream(stream);
    });
}

TEST_F(Locks, AChildDoesNotInheritALock) {
    onMachine([&] {
        write(in(L"f"), "x");
        Stream* stream = openStream(in(L"f"), "r+");
        EXPECT_TRUE(lockStream(stream, 100));
        const Holder child = startHolder(scratch, L"semaphore", L"Global\\zl-contract-lock");
        EXPECT_TRUE(closeStream(stream));
        stream = openStream(in(L"f"), "r+");
        EXPECT_TRUE(lockStream(stream, 100)) << lastError();
        EXPECT_TRUE(closeStream(stream));
        letGo(child);
    });
}

TEST_F(Locks, ALockIsGivenBackWholeOrNotAtAll) {
    onTwoStreams("", [](Stream* one, Stream* other) {
        EXPECT_TRUE(lockStream(one, 10));
        EXPECT_FALSE(unlockStream(one, 5));
        EXPECT_FALSE(unlockStream(other, 10));
        EXPECT_FAILS(lockStream(other, 10), errorLockViolation);
    });
}

TEST_F(Locks, WhatIsNotLockedCannotBeUnlocked) {
    const ErrorCode notLocked = isWine() ? errorLockViolation : errorNotLocked;  // Wine's own answer
    onStream("", [&](Stream* stream) {
        EXPECT_FAILS(unlockStream(stream, 100), notLocked);
        EXPECT_TRUE(lockStream(stream, 100));
        EXPECT_TRUE(unlockStream(stream, 100));
        EXPECT_FAILS(unlockStream(stream, 100), notLocked);
    });
}

}  // namespace
