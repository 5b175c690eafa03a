#include "platform/streams.h"

#include "contract/contract.h"

namespace {

using contract::read;
using contract::write;
using namespace platform;

std::string take(Stream* stream, std::size_t count) {
    std::string buffer(count, '\0');
    buffer.resize(readStream(stream, buffer.data(), count));
    return buffer;
}

class Streams : public contract::Contract {};

TEST_F(Streams, ReadingNeedsAFile) {
    onMachine([&] {
        EXPECT_FAILS(openStream(in(L"gone"), "r") != nullptr, errorFileNotFound);
        EXPECT_FAILS(openStream(in(L"gone"), "r+") != nullptr, errorFileNotFound);
        EXPECT_FAILS(openStream(in(L"gone\\x"), "r") != nullptr, errorPathNotFound);
        EXPECT_FAILS(openStream(in(L"gone\\x"), "w") != nullptr, errorPathNotFound);
        EXPECT_FAILS(openStream(scratch, "r") != nullptr, errorAccessDenied);
        EXPECT_FAILS(openStream(scratch, "w") != nullptr, errorAccessDenied);
    });
}

TEST_F(Streams, BytesPassUnchanged) {
    onMachine([&] {
        std::string bytes;
        for (int i = 0; i < 256; ++i) {
            bytes += static_cast<char>(i);
        }
        bytes += "\r\n\x1A\n\r";
        write(in(L"f"), bytes);
        EXPECT_EQ(read(in(L"f")), bytes);
    });
}

TEST_F(Streams, WritingEmptiesTheFile) {
    onMachine([&] {
        write(in(L"f"), "long text");
        write(in(L"f"), "x");
        EXPECT_EQ(read(in(L"f")), "x");
        Stream* stream = openStream(in(L"f"), "w+");
        EXPECT_TRUE(writeStream(stream, "abc"));
        EXPECT_TRUE(rewindStream(stream));
        EXPECT_EQ(take(stream, 10), "abc");
        closeStream(stream);
    });
}

TEST_F(Streams, AppendingKeepsWhatIsThere) {
    onMachine([&] {
        for (int i = 0; i < 2; ++i) {
            Stream* stream = openStream(in(L"f"), "a+");
            ASSERT_NE(stream, nullptr);
            EXPECT_TRUE(writeStream(stream, "x"));
            EXPECT_TRUE(closeStream(stream));
        }
        EXPECT_EQ(read(in(L"f")), "xx");
        Stream* stream = openStream(in(L"f"), "a+");
        EXPECT_TRUE(rewindStream(stream));
        EXPECT_TRUE(writeStream(stream, "y"));
        EXPECT_TRUE(closeStream(stream));
        EXPECT_EQ(read(in(L"f")), "xxy");
    });
}

TEST_F(Streams, UpdatingWritesOverTheHeadAndTruncatesNothing) {
    onMachine([&] {
        write(in(L"f"), "0123456789");
        Stream* stream = openStream(in(L"f"), "r+");
        EXPECT_EQ(take(stream, 4), "0123");
        EXPECT_TRUE(rewindStream(stream));
        EXPECT_TRUE(writeStream(stream, "ab"));
        EXPECT_TRUE(flushStream(stream));
        EXPECT_TRUE(rewindStream(stream));
        EXPECT_EQ(take(stream, 20), "ab23456789");
        closeStream(stream);
    });
}

TEST_F(Streams, SmallWritesAreSeenAfterAFlush) {
    onMachine([&] {
        Stream* stream = openStream(in(L"f"), "w");
        EXPECT_TRUE(writeStream(stream, "abc"));
        EXPECT_EQ(read(in(L"f")), "");
        EXPECT_TRUE(flushStream(stream));
        EXPECT_EQ(read(in(L"f")), "abc");
        closeStream(stream);
    });
}

TEST_F(Streams, ARewindSeesWhatOthersHaveWritten) {
    onMachine([&] {
        write(in(L"f"), "old");
        Stream* reader = openStream(in(L"f"), "r+");
        EXPECT_EQ(take(reader, 10), "old");
        Stream* writer = openStream(in(L"f"), "r+");
        EXPECT_TRUE(writeStream(writer, "newer"));
        closeStream(writer);
        EXPECT_TRUE(rewindStream(reader));
        EXPECT_EQ(take(reader, 10), "newer");
        closeStream(reader);
    });
}

TEST_F(Streams, TheEndGivesNothing) {
    onMachine([&] {
        write(in(L"f"), "ab");
        Stream* stream = openStream(in(L"f"), "r");
        EXPECT_EQ(take(stream, 2), "ab");
        EXPECT_EQ(take(stream, 2), "");
        EXPECT_EQ(lastError(), errorSuccess);
        EXPECT_EQ(take(stream, 2), "");
        EXPECT_EQ(lastError(), errorSuccess);
        closeStream(stream);
    });
}

TEST_F(Streams, AReaderCannotWrite) {
    onMachine([&] {
        write(in(L"f"), "ab");
        Stream* stream = openStream(in(L"f"), "r");
        EXPECT_FALSE(writeStream(stream, "x") && flushStream(stream));
        closeStream(stream);
        EXPECT_EQ(read(in(L"f")), "ab");
    });
}

TEST_F(Streams, AHiddenFileCanBeUpdatedAndNotEmptied) {
    onMachine([&] {
        closeHandle(createFile(in(L"f"), accessWrite, shareRead, openFileAlways, attributeHidden));
        Stream* stream = openStream(in(L"f"), "r+");
        ASSERT_NE(stream, nullptr);
        EXPECT_TRUE(writeStream(stream, "abc"));
        closeStream(stream);
        EXPECT_EQ(read(in(L"f")), "abc");
        if (!contract::isWine()) {  // Wine lets a hidden file be emptied
            EXPECT_FAILS(openStream(in(L"f"), "w") != nullptr, errorAccessDenied);
        }
    });
}

TEST_F(Streams, OneHolderOfALockKeepsTheOthersOut) {
    onMachine([&] {
        write(in(L"f"), "");
        Stream* first = openStream(in(L"f"), "r+");
        Stream* second = openStream(in(L"f"), "r+");
        EXPECT_TRUE(lockStream(first, 100));
        EXPECT_FAILS(lockStream(second, 100), errorLockViolation);
        EXPECT_FAILS(lockStream(first, 100), errorLockViolation);
        EXPECT_TRUE(unlockStream(first, 100));
        EXPECT_TRUE(lockStream(second, 100));
        closeStream(first);
        closeStream(second);
    });
}

TEST_F(Streams, ALockGoesWithItsStream) {
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

TEST_F(Streams, WhatIsNotLockedCannotBeUnlocked) {
    const ErrorCode notLocked =
        contract::isWine() ? errorLockViolation : errorNotLocked;  // Wine's own answer
    onMachine([&] {
        write(in(L"f"), "");
        Stream* stream = openStream(in(L"f"), "r+");
        EXPECT_FAILS(unlockStream(stream, 100), notLocked);
        EXPECT_TRUE(lockStream(stream, 100));
        EXPECT_TRUE(unlockStream(stream, 100));
        EXPECT_FAILS(unlockStream(stream, 100), notLocked);
        closeStream(stream);
    });
}

TEST_F(Streams, TheHolderOfALockReadsAndWrites) {
    onMachine([&] {
        write(in(L"f"), "123");
        Stream* stream = openStream(in(L"f"), "r+");
        EXPECT_TRUE(lockStream(stream, 100));
        EXPECT_EQ(take(stream, 10), "123");
        EXPECT_TRUE(rewindStream(stream));
        EXPECT_TRUE(writeStream(stream, "45"));
        EXPECT_TRUE(flushStream(stream));
        EXPECT_TRUE(unlockStream(stream, 100));
        closeStream(stream);
        EXPECT_EQ(read(in(L"f")), "453");
    });
}

TEST_F(Streams, OthersCannotReadWhatIsLocked) {
    onMachine([&] {
        write(in(L"f"), "123");
        Stream* holder = openStream(in(L"f"), "r+");
        Stream* other = openStream(in(L"f"), "r+");
        EXPECT_TRUE(lockStream(holder, 100));
        if (!contract::isWine()) {  // Wine's locks keep other locks out, and no readers
            EXPECT_EQ(take(other, 10), "");
            EXPECT_EQ(lastError(), errorLockViolation);
        }
        EXPECT_TRUE(unlockStream(holder, 100));
        EXPECT_TRUE(rewindStream(other));
        EXPECT_EQ(take(other, 10), "123");
        closeStream(holder);
        closeStream(other);
    });
}

}  // namespace
