#include "contract/contract.h"

// Bringing a file's content to the device. That it is there after a loss of power, no case can show.
namespace {

using contract::read;
using contract::write;
using platform::accessRead;
using platform::accessWrite;
using platform::attributeNormal;
using platform::attributeReadOnly;
using platform::closeHandle;
using platform::createDirectory;
using platform::createFile;
using platform::errorAccessDenied;
using platform::errorFileNotFound;
using platform::errorPathNotFound;
using platform::errorSharingViolation;
using platform::flushFile;
using platform::Handle;
using platform::openExistingFile;
using platform::openFileAlways;
using platform::shareRead;

class Durability : public contract::Contract {};

TEST_F(Durability, AFileThatNobodyHasOpenIsFlushedAndStaysAsItIs) {
    onMachine([&] {
        write(in(L"f"), "text");
        EXPECT_TRUE(flushFile(in(L"f")));
        EXPECT_EQ(read(in(L"f")), "text");
        EXPECT_TRUE(platform::deleteFile(in(L"f")));  // nobody has it open afterwards
    });
}

TEST_F(Durability, AFileUnderAStreamIsFlushedWithoutWhatTheStreamBuffers) {
    onMachine([&] {
        platform::Stream* stream = platform::openStream(in(L"f"), "w");
        platform::writeStream(stream, "text");
        EXPECT_TRUE(flushFile(in(L"f")));
        EXPECT_EQ(read(in(L"f")), "");
        EXPECT_TRUE(platform::closeStream(stream));
        EXPECT_EQ(read(in(L"f")), "text");
    });
}

TEST_F(Durability, WhatIsNotThereOrNoFileCannotBeFlushed) {
    onMachine([&] {
        EXPECT_TRUE(createDirectory(in(L"d")));
        EXPECT_FAILS(flushFile(in(L"f")), errorFileNotFound);
        EXPECT_FAILS(flushFile(in(L"gone\\f")), errorPathNotFound);
        EXPECT_FAILS(flushFile(in(L"d")), errorAccessDenied);
    });
}

TEST_F(Durability, AReadOnlyFileCannotBeFlushed) {
    onMachine([&] {
        if (contract::isWine()) {
            return;  // Wine leaves this to the system below it, whose superuser may write everything
        }
        closeHandle(createFile(in(L"f"), accessWrite, 0, openFileAlways, attributeReadOnly));
        EXPECT_FAILS(flushFile(in(L"f")), errorAccessDenied);
    });
}

TEST_F(Durability, AFileWhoseReaderSharesNoWritingCannotBeFlushed) {
    onMachine([&] {
        write(in(L"f"), "text");
        const Handle reader = createFile(in(L"f"), accessRead, shareRead, openExistingFile, attributeNormal);
        EXPECT_FAILS(flushFile(in(L"f")), errorSharingViolation);
        closeHandle(reader);
        EXPECT_TRUE(flushFile(in(L"f")));
    });
}

}  // namespace
