#include "contract/contract.h"

// Flushing a file to the device. No test can show that its content survives a power loss.
namespace contract {
namespace {

using namespace platform;

class Durability : public Contract {};

TEST_F(Durability, FlushLeavesAClosedFileUnchanged) {
    onMachine([&] {
        write(in(L"f"), "text");
        EXPECT_TRUE(flushFile(in(L"f")));
        EXPECT_EQ(read(in(L"f")), "text");
        EXPECT_TRUE(deleteFile(in(L"f")));  // the flush has closed its handle
    });
}

TEST_F(Durability, FlushDoesNotIncludeBufferedStreamData) {
    onMachine([&] {
        Stream* stream = openStream(in(L"f"), "w");
        writeStream(stream, "text");
        EXPECT_TRUE(flushFile(in(L"f")));
        EXPECT_EQ(read(in(L"f")), "");
        EXPECT_TRUE(closeStream(stream));
        EXPECT_EQ(read(in(L"f")), "text");
    });
}

TEST_F(Durability, MissingFilesAndDirectoriesCannotBeFlushed) {
    onMachine([&] {
        EXPECT_TRUE(createDirectory(in(L"d")));
        EXPECT_FAILS(flushFile(in(L"f")), errorFileNotFound);
        EXPECT_FAILS(flushFile(in(L"gone\\f")), errorPathNotFound);
        EXPECT_FAILS(flushFile(in(L"d")), errorAccessDenied);
    });
}

TEST_F(Durability, ReadOnlyFileCannotBeFlushed) {
    SKIP_UNDER_WINE("leaves permissions to the host, whose superuser may write any file");
    onMachine([&] {
        makeFileWith(in(L"f"), attributeReadOnly);
        EXPECT_FAILS(flushFile(in(L"f")), errorAccessDenied);
    });
}

TEST_F(Durability, ReaderWithoutSharedWritingPreventsAFlush) {
    onMachine([&] {
        write(in(L"f"), "text");
        const Handle reader = createFile(in(L"f"), accessRead, shareRead, openExistingFile, attributeNormal);
        EXPECT_FAILS(flushFile(in(L"f")), errorSharingViolation);
        closeHandle(reader);
        EXPECT_TRUE(flushFile(in(L"f")));
    });
}

}  // namespace
}  // namespace contract
