#include "platform/streams.h"

#include "contract/contract.h"

namespace contract {
namespace {

using namespace platform;

class Streams : public Contract {};

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

TEST_F(Streams, OpenReportsWhatIsMissing) {
    onMachine([&] {
        EXPECT_FAILS(openStream(in(L"gone"), "r"), errorFileNotFound);
        EXPECT_FAILS(openStream(in(L"gone"), "r+"), errorFileNotFound);
        EXPECT_FAILS(openStream(in(L"gone\\x"), "r"), errorPathNotFound);
        EXPECT_FAILS(openStream(in(L"gone\\x"), "w"), errorPathNotFound);
        EXPECT_FAILS(openStream(scratch, "r"), errorAccessDenied);
        EXPECT_FAILS(openStream(scratch, "w"), errorAccessDenied);
    });
}

TEST_F(Streams, OnlyWritingModesCreateAFile) {
    onMachine([&] {
        for (const char* mode : {"r", "r+"}) {
            EXPECT_FAILS(openStream(in(L"f"), mode), errorFileNotFound);
            EXPECT_FALSE(fileAttributes(in(L"f"))) << mode;
        }
        for (const char* mode : {"w", "w+", "a+"}) {
            Stream* stream = openStream(in(L"f"), mode);
            ASSERT_NE(stream, nullptr) << mode;
            EXPECT_TRUE(closeStream(stream));
            EXPECT_TRUE(deleteFile(in(L"f"))) << mode;
        }
    });
}

TEST_F(Streams, WriteModesEmptyTheFile) {
    onMachine([&] {
        write(in(L"f"), "long text");
        write(in(L"f"), "x");
        EXPECT_EQ(read(in(L"f")), "x");
        Stream* stream = openStream(in(L"f"), "w+");
        EXPECT_TRUE(writeStream(stream, "abc"));
        EXPECT_TRUE(rewindStream(stream));
        EXPECT_EQ(readUpTo(stream, 10), "abc");
        closeStream(stream);
    });
}

TEST_F(Streams, FileIsEmptiedOnOpen) {
    onMachine([&] {
        write(in(L"f"), "text");
        Stream* stream = openStream(in(L"f"), "w");
        ASSERT_NE(stream, nullptr);
        EXPECT_EQ(read(in(L"f")), "");
        closeStream(stream);
    });
}

TEST_F(Streams, AppendModeWritesAtTheEnd) {
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

TEST_F(Streams, AppendModeReadsFromTheStartAfterARewind) {
    onMachine([&] {
        write(in(L"f"), "ab");
        Stream* stream = openStream(in(L"f"), "a+");
        EXPECT_TRUE(writeStream(stream, "cd"));
        EXPECT_TRUE(rewindStream(stream));
        EXPECT_EQ(readUpTo(stream, 10), "abcd");
        EXPECT_TRUE(closeStream(stream));
    });
}

TEST_F(Streams, UpdateModeOverwritesWithoutTruncating) {
    onMachine([&] {
        write(in(L"f"), "0123456789");
        Stream* stream = openStream(in(L"f"), "r+");
        EXPECT_EQ(readUpTo(stream, 4), "0123");
        EXPECT_TRUE(rewindStream(stream));
        EXPECT_TRUE(writeStream(stream, "ab"));
        EXPECT_TRUE(flushStream(stream));
        EXPECT_TRUE(rewindStream(stream));
        EXPECT_EQ(readUpTo(stream, 20), "ab23456789");
        closeStream(stream);
    });
}

TEST_F(Streams, ReadsAreConsecutive) {
    onMachine([&] {
        write(in(L"f"), "0123456789");
        Stream* stream = openStream(in(L"f"), "r");
        EXPECT_EQ(readUpTo(stream, 3), "012");
        EXPECT_EQ(readUpTo(stream, 3), "345");
        EXPECT_EQ(readUpTo(stream, 30), "6789");
        closeStream(stream);
    });
}

TEST_F(Streams, WriteContinuesWhereReadingStopped) {
    onMachine([&] {
        write(in(L"f"), "0123456789");
        Stream* stream = openStream(in(L"f"), "r+");
        EXPECT_EQ(readUpTo(stream, 3), "012");
        EXPECT_TRUE(writeStream(stream, "ab"));
        EXPECT_EQ(readUpTo(stream, 3), "567");
        EXPECT_TRUE(closeStream(stream));
        EXPECT_EQ(read(in(L"f")), "012ab56789");
    });
}

TEST_F(Streams, EndOfFileIsNoFailure) {
    onMachine([&] {
        write(in(L"f"), "ab");
        Stream* stream = openStream(in(L"f"), "r");
        EXPECT_EQ(readUpTo(stream, 2), "ab");
        for (int i = 0; i < 2; ++i) {
            char buffer[2];
            const ReadResult result = readStream(stream, buffer, sizeof(buffer));
            EXPECT_EQ(result.count, 0U);
            EXPECT_FALSE(result.hasFailed);
        }
        closeStream(stream);
    });
}

TEST_F(Streams, ZeroBytesCanBeReadAndWritten) {
    onMachine([&] {
        write(in(L"f"), "ab");
        Stream* stream = openStream(in(L"f"), "r+");
        EXPECT_EQ(readUpTo(stream, 0), "");
        EXPECT_TRUE(writeStream(stream, ""));
        EXPECT_TRUE(flushStream(stream));
        EXPECT_EQ(readUpTo(stream, 10), "ab");
        EXPECT_TRUE(closeStream(stream));
    });
}

TEST_F(Streams, ReadModeCannotWrite) {
    onMachine([&] {
        write(in(L"f"), "ab");
        Stream* stream = openStream(in(L"f"), "r");
        EXPECT_FALSE(writeStream(stream, "x") && flushStream(stream));
        closeStream(stream);
        EXPECT_EQ(read(in(L"f")), "ab");
    });
}

TEST_F(Streams, WriteModeCannotRead) {
    onMachine([&] {
        Stream* stream = openStream(in(L"f"), "w");
        ASSERT_NE(stream, nullptr);
        EXPECT_TRUE(writeStream(stream, "x"));
        EXPECT_TRUE(rewindStream(stream));
        EXPECT_EQ(readUpTo(stream, 10), "");
        closeStream(stream);
        EXPECT_EQ(read(in(L"f")), "x");
    });
}

TEST_F(Streams, SmallWriteReachesTheFileWithAFlush) {
    onMachine([&] {
        Stream* stream = openStream(in(L"f"), "w");
        EXPECT_TRUE(writeStream(stream, "abc"));
        EXPECT_EQ(read(in(L"f")), "");
        EXPECT_TRUE(flushStream(stream));
        EXPECT_EQ(read(in(L"f")), "abc");
        closeStream(stream);
    });
}

TEST_F(Streams, LargeWriteReachesTheFileWithoutAFlush) {
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

TEST_F(Streams, RewindShowsWhatOtherStreamsWrote) {
    onMachine([&] {
        write(in(L"f"), "old");
        Stream* reader = openStream(in(L"f"), "r+");
        EXPECT_EQ(readUpTo(reader, 10), "old");
        Stream* writer = openStream(in(L"f"), "r+");
        EXPECT_TRUE(writeStream(writer, "newer"));
        closeStream(writer);
        EXPECT_TRUE(rewindStream(reader));
        EXPECT_EQ(readUpTo(reader, 10), "newer");
        closeStream(reader);
    });
}

TEST_F(Streams, RewindShowsThatTheFileWasEmptied) {
    onMachine([&] {
        write(in(L"f"), "text");
        Stream* reader = openStream(in(L"f"), "r");
        EXPECT_EQ(readUpTo(reader, 2), "te");
        write(in(L"f"), "");
        EXPECT_TRUE(rewindStream(reader));
        EXPECT_EQ(readUpTo(reader, 10), "");
        closeStream(reader);
    });
}

TEST_F(Streams, TwoAppendingStreamsDoNotOverwriteEachOther) {
    onMachine([&] {
        Stream* first = openStream(in(L"f"), "a+");
        Stream* second = openStream(in(L"f"), "a+");
        EXPECT_TRUE(writeStream(first, "a") && flushStream(first));
        EXPECT_TRUE(writeStream(second, "b") && flushStream(second));
        EXPECT_TRUE(writeStream(first, "c") && flushStream(first));
        EXPECT_TRUE(closeStream(first));
        EXPECT_TRUE(closeStream(second));
        EXPECT_EQ(read(in(L"f")), "abc");
    });
}

TEST_F(Streams, SeekToLastByteGivesItsPosition) {
    onMachine([&] {
        for (const char* mode : {"r", "r+", "a+"}) {
            write(in(L"f"), "abc");
            Stream* stream = openStream(in(L"f"), mode);
            EXPECT_EQ(seekToLastByte(stream), 2U) << mode;
            EXPECT_EQ(readUpTo(stream, 10), "c") << mode;
            EXPECT_TRUE(rewindStream(stream));
            EXPECT_EQ(readUpTo(stream, 10), "abc") << mode;
            closeStream(stream);
        }
    });
}

TEST_F(Streams, EmptyFileHasNoLastByte) {
    onMachine([&] {
        write(in(L"f"), "");
        Stream* stream = openStream(in(L"f"), "r+");
        EXPECT_FAILS(seekToLastByte(stream), errorNegativeSeek);
        EXPECT_TRUE(writeStream(stream, "x"));
        EXPECT_TRUE(closeStream(stream));
        EXPECT_EQ(read(in(L"f")), "x");
    });
}

TEST_F(Streams, TruncatedFileIsContinuedAtItsNewEnd) {
    onMachine([&] {
        for (const auto& [mode, result] : {std::pair("r+", "xb"), std::pair("a+", "abx")}) {
            write(in(L"f"), "abcd");
            Stream* stream = openStream(in(L"f"), mode);
            EXPECT_EQ(seekToLastByte(stream), 3U);
            EXPECT_EQ(readUpTo(stream, 1), "d");
            EXPECT_TRUE(truncateStream(stream, 2)) << lastError();
            EXPECT_TRUE(rewindStream(stream));
            EXPECT_EQ(readUpTo(stream, 10), "ab");
            EXPECT_TRUE(rewindStream(stream));
            EXPECT_TRUE(writeStream(stream, "x"));
            EXPECT_TRUE(closeStream(stream));
            EXPECT_EQ(read(in(L"f")), result) << mode;
        }
    });
}

TEST_F(Streams, ReadModeCannotTruncate) {
    onMachine([&] {
        write(in(L"f"), "ab");
        Stream* stream = openStream(in(L"f"), "r");
        EXPECT_FALSE(truncateStream(stream, 1));
        closeStream(stream);
        EXPECT_EQ(read(in(L"f")), "ab");
    });
}

TEST_F(Streams, ReadModeTruncationIsAccessDenied) {
    SKIP_UNDER_WINE("reports an invalid parameter");
    onMachine([&] {
        write(in(L"f"), "ab");
        Stream* stream = openStream(in(L"f"), "r");
        EXPECT_FAILS(truncateStream(stream, 1), errorAccessDenied);
        closeStream(stream);
    });
}

TEST_F(Streams, HiddenFileCanBeReadAndAppendedTo) {
    onMachine([&] {
        makeFileWith(in(L"f"), attributeHidden);
        Stream* stream = openStream(in(L"f"), "a+");
        ASSERT_NE(stream, nullptr) << lastError();
        EXPECT_TRUE(writeStream(stream, "x"));
        EXPECT_TRUE(closeStream(stream));
        EXPECT_EQ(read(in(L"f")), "x");
        EXPECT_TRUE(hasAttribute(in(L"f"), attributeHidden));
    });
}

TEST_F(Streams, HiddenFileCanBeUpdated) {
    onMachine([&] {
        makeFileWith(in(L"f"), attributeHidden);
        Stream* stream = openStream(in(L"f"), "r+");
        ASSERT_NE(stream, nullptr);
        EXPECT_TRUE(writeStream(stream, "abc"));
        closeStream(stream);
        EXPECT_EQ(read(in(L"f")), "abc");
    });
}

TEST_F(Streams, HiddenFileCannotBeEmptied) {
    SKIP_UNDER_WINE("empties hidden files");
    onMachine([&] {
        makeFileWith(in(L"f"), attributeHidden);
        EXPECT_FAILS(openStream(in(L"f"), "w"), errorAccessDenied);
    });
}

}  // namespace
}  // namespace contract
