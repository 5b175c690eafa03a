#include "contract/contract.h"

namespace {

using contract::isWine;
using contract::read;
using contract::write;
using namespace platform;

std::string take(Stream* stream, std::size_t count) {
    std::string buffer(count, '\0');
    buffer.resize(readStream(stream, buffer.data(), count));
    return buffer;
}

class StreamCases : public contract::Contract {};

TEST_F(StreamCases, OnlyModesThatWriteMakeAFile) {
    onMachine([&] {
        for (const char* mode : {"r", "r+"}) {
            EXPECT_FAILS(openStream(in(L"f"), mode) != nullptr, errorFileNotFound);
            EXPECT_FALSE(fileAttributes(in(L"f")));
        }
        for (const char* mode : {"w", "w+", "a+"}) {
            Stream* stream = openStream(in(L"f"), mode);
            ASSERT_NE(stream, nullptr) << mode;
            EXPECT_TRUE(closeStream(stream));
            EXPECT_TRUE(deleteFile(in(L"f"))) << mode;
        }
    });
}

TEST_F(StreamCases, AWriterCannotRead) {
    onMachine([&] {
        Stream* stream = openStream(in(L"f"), "w");
        ASSERT_NE(stream, nullptr);
        EXPECT_TRUE(writeStream(stream, "x"));
        EXPECT_TRUE(rewindStream(stream));
        EXPECT_EQ(take(stream, 10), "");
        closeStream(stream);
        EXPECT_EQ(read(in(L"f")), "x");
    });
}

TEST_F(StreamCases, ALargeWriteGoesToTheDiskBeforeAFlush) {
    onMachine([&] {
        Stream* stream = openStream(in(L"f"), "w");
        ASSERT_NE(stream, nullptr);
        const std::string text(100000, 'x');
        EXPECT_TRUE(writeStream(stream, text));
        EXPECT_GT(read(in(L"f")).size(), 50000U);
        EXPECT_TRUE(closeStream(stream));
        EXPECT_EQ(read(in(L"f")), text);
    });
}

TEST_F(StreamCases, ReadingGoesOnWhereItStopped) {
    onMachine([&] {
        write(in(L"f"), "0123456789");
        Stream* stream = openStream(in(L"f"), "r");
        EXPECT_EQ(take(stream, 3), "012");
        EXPECT_EQ(take(stream, 3), "345");
        EXPECT_EQ(take(stream, 30), "6789");
        closeStream(stream);
    });
}

TEST_F(StreamCases, WritingGoesOnWhereReadingStopped) {
    onMachine([&] {
        write(in(L"f"), "0123456789");
        Stream* stream = openStream(in(L"f"), "r+");
        EXPECT_EQ(take(stream, 3), "012");
        EXPECT_TRUE(writeStream(stream, "ab"));
        EXPECT_EQ(take(stream, 3), "567");
        EXPECT_TRUE(closeStream(stream));
        EXPECT_EQ(read(in(L"f")), "012ab56789");
    });
}

TEST_F(StreamCases, AppendingReadsFromTheHeadAfterARewind) {
    onMachine([&] {
        write(in(L"f"), "ab");
        Stream* stream = openStream(in(L"f"), "a+");
        EXPECT_TRUE(writeStream(stream, "cd"));
        EXPECT_TRUE(rewindStream(stream));
        EXPECT_EQ(take(stream, 10), "abcd");
        EXPECT_TRUE(closeStream(stream));
    });
}

TEST_F(StreamCases, AHiddenFileCanBeReadAndAppendedTo) {
    onMachine([&] {
        closeHandle(createFile(in(L"f"), accessWrite, 0, openFileAlways, attributeHidden));
        Stream* stream = openStream(in(L"f"), "a+");
        ASSERT_NE(stream, nullptr) << lastError();
        EXPECT_TRUE(writeStream(stream, "x"));
        EXPECT_TRUE(closeStream(stream));
        EXPECT_EQ(read(in(L"f")), "x");
        EXPECT_NE(fileAttributes(in(L"f")).value_or(0) & attributeHidden, 0U);
    });
}

TEST_F(StreamCases, EmptyingAFileIsSeenAtOnce) {
    onMachine([&] {
        write(in(L"f"), "text");
        Stream* stream = openStream(in(L"f"), "w");
        ASSERT_NE(stream, nullptr);
        EXPECT_EQ(read(in(L"f")), "");
        closeStream(stream);
    });
}

TEST_F(StreamCases, LocksOfTwoFilesDoNotMeet) {
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

TEST_F(StreamCases, AReaderMayLock) {
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

TEST_F(StreamCases, ALockIsGivenBackWholeOrNotAtAll) {
    onMachine([&] {
        write(in(L"f"), "");
        Stream* one = openStream(in(L"f"), "r+");
        Stream* other = openStream(in(L"f"), "r+");
        EXPECT_TRUE(lockStream(one, 10));
        EXPECT_FALSE(unlockStream(one, 5));
        EXPECT_FALSE(unlockStream(other, 10));
        EXPECT_FAILS(lockStream(other, 10), errorLockViolation);
        closeStream(one);
        closeStream(other);
    });
}

TEST_F(StreamCases, OthersCannotWriteIntoWhatIsLocked) {
    onMachine([&] {
        write(in(L"f"), "123");
        Stream* holder = openStream(in(L"f"), "r+");
        Stream* other = openStream(in(L"f"), "r+");
        EXPECT_TRUE(lockStream(holder, 10));
        EXPECT_TRUE(writeStream(other, "x"));
        if (!isWine()) {  // Wine's locks keep other locks out, and no writers
            EXPECT_FAILS(flushStream(other), errorLockViolation);
        }
        EXPECT_TRUE(unlockStream(holder, 10));
        closeStream(holder);
        closeStream(other);
    });
}

TEST_F(StreamCases, BytesBehindALockAreWrittenByAnyone) {
    onMachine([&] {
        write(in(L"f"), "0123456789");
        Stream* holder = openStream(in(L"f"), "r+");
        EXPECT_TRUE(lockStream(holder, 10));
        Stream* appender = openStream(in(L"f"), "a+");
        EXPECT_TRUE(writeStream(appender, "x"));
        EXPECT_TRUE(flushStream(appender));
        closeStream(appender);
        EXPECT_TRUE(unlockStream(holder, 10));
        closeStream(holder);
        EXPECT_EQ(read(in(L"f")), "0123456789x");
    });
}

}  // namespace
