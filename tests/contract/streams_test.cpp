#include "platform/streams.h"

#include "contract/contract.h"

namespace {

using contract::isWine;
using contract::read;
using contract::take;
using contract::write;
using namespace platform;

class Streams : public contract::Contract {};

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

TEST_F(Streams, OnlyModesThatWriteMakeAFile) {
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

TEST_F(Streams, EmptyingAFileIsSeenAtOnce) {
    onMachine([&] {
        write(in(L"f"), "text");
        Stream* stream = openStream(in(L"f"), "w");
        ASSERT_NE(stream, nullptr);
        EXPECT_EQ(read(in(L"f")), "");
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

TEST_F(Streams, AppendingReadsFromTheHeadAfterARewind) {
    onMachine([&] {
        write(in(L"f"), "ab");
        Stream* stream = openStream(in(L"f"), "a+");
        EXPECT_TRUE(writeStream(stream, "cd"));
        EXPECT_TRUE(rewindStream(stream));
        EXPECT_EQ(take(stream, 10), "abcd");
        EXPECT_TRUE(closeStream(stream));
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

TEST_F(Streams, ReadingGoesOnWhereItStopped) {
    onMachine([&] {
        write(in(L"f"), "0123456789");
        Stream* stream = openStream(in(L"f"), "r");
        EXPECT_EQ(take(stream, 3), "012");
        EXPECT_EQ(take(stream, 3), "345");
        EXPECT_EQ(take(stream, 30), "6789");
        closeStream(stream);
    });
}

TEST_F(Streams, WritingGoesOnWhereReadingStopped) {
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

TEST_F(Streams, NothingIsReadAndNothingIsWrittenOfNoBytes) {
    onMachine([&] {
        write(in(L"f"), "ab");
        Stream* stream = openStream(in(L"f"), "r+");
        EXPECT_EQ(take(stream, 0), "");
        EXPECT_TRUE(writeStream(stream, ""));
        EXPECT_TRUE(flushStream(stream));
        EXPECT_EQ(take(stream, 10), "ab");
        EXPECT_TRUE(closeStream(stream));
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

TEST_F(Streams, AWriterCannotRead) {
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

TEST_F(Streams, ALargeWriteGoesToTheDiskBeforeAFlush) {
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

TEST_F(Streams, AReaderOfAnEmptiedFileSeesNothingBehindARewind) {
    onMachine([&] {
        write(in(L"f"), "text");
        Stream* reader = openStream(in(L"f"), "r");
        EXPECT_EQ(take(reader, 2), "te");
        write(in(L"f"), "");
        EXPECT_TRUE(rewindStream(reader));
        EXPECT_EQ(take(reader, 10), "");
        closeStream(reader);
    });
}

TEST_F(Streams, TwoAppendersWriteBehindEachOther) {
    onMachine([&] {
        Stream* one = openStream(in(L"f"), "a+");
        Stream* other = openStream(in(L"f"), "a+");
        EXPECT_TRUE(writeStream(one, "a") && flushStream(one));
        EXPECT_TRUE(writeStream(other, "b") && flushStream(other));
        EXPECT_TRUE(writeStream(one, "c") && flushStream(one));
        EXPECT_TRUE(closeStream(one));
        EXPECT_TRUE(closeStream(other));
        EXPECT_EQ(read(in(L"f")), "abc");
    });
}

TEST_F(Streams, AHiddenFileCanBeReadAndAppendedTo) {
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

TEST_F(Streams, AHiddenFileCanBeUpdatedAndNotEmptied) {
    onMachine([&] {
        closeHandle(createFile(in(L"f"), accessWrite, shareRead, openFileAlways, attributeHidden));
        Stream* stream = openStream(in(L"f"), "r+");
        ASSERT_NE(stream, nullptr);
        EXPECT_TRUE(writeStream(stream, "abc"));
        closeStream(stream);
        EXPECT_EQ(read(in(L"f")), "abc");
        if (!isWine()) {  // Wine lets a hidden file be emptied
            EXPECT_FAILS(openStream(in(L"f"), "w") != nullptr, errorAccessDenied);
        }
    });
}

}  // namespace
