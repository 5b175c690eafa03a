#include <gmock/gmock.h>

#include "contract/contract.h"

namespace contract {
namespace {

using namespace platform;

class Copies : public Contract {};

TEST_F(Copies, ExistingTargetIsReplacedOnlyOnRequest) {
    onMachine([&] {
        write(in(L"a"), "text");
        EXPECT_TRUE(copyFile(in(L"a"), in(L"b"), ExistingTarget::isFailure));
        EXPECT_EQ(read(in(L"b")), "text");
        write(in(L"a"), "other");
        EXPECT_FAILS(copyFile(in(L"a"), in(L"b"), ExistingTarget::isFailure), errorFileExists);
        EXPECT_EQ(read(in(L"b")), "text");
        EXPECT_TRUE(copyFile(in(L"a"), in(L"b"), ExistingTarget::isReplaced));
        EXPECT_EQ(read(in(L"b")), "other");
    });
}

TEST_F(Copies, CopyKeepsTheAttributes) {
    onMachine([&] {
        makeFileWith(in(L"f"), attributeReadOnly);
        EXPECT_TRUE(copyFile(in(L"f"), in(L"g"), ExistingTarget::isFailure));
        EXPECT_TRUE(hasAttribute(in(L"g"), attributeReadOnly));
    });
}

TEST_F(Copies, ReadOnlyCopyCanBeMadeWritable) {
    onMachine([&] {
        makeFileWith(in(L"f"), attributeReadOnly | attributeHidden);
        EXPECT_TRUE(copyFile(in(L"f"), in(L"g"), ExistingTarget::isFailure));
        const std::uint32_t attributes = fileAttributes(in(L"g")).value_or(0);
        EXPECT_TRUE(setFileAttributes(in(L"g"), attributes & ~attributeReadOnly)) << lastError();
        EXPECT_FALSE(hasAttribute(in(L"g"), attributeReadOnly));
        EXPECT_TRUE(hasAttribute(in(L"g"), attributeHidden));
        EXPECT_TRUE(hasAttribute(in(L"f"), attributeReadOnly));
        EXPECT_TRUE(deleteFile(in(L"g"))) << lastError();
        EXPECT_FAILS(setFileAttributes(in(L"g"), attributeNormal), errorFileNotFound);
    });
}

TEST_F(Copies, CopyNeedsASourceFileAndATargetDirectory) {
    onMachine([&] {
        EXPECT_FAILS(copyFile(in(L"gone"), in(L"b"), ExistingTarget::isFailure), errorFileNotFound);
        write(in(L"a"), "x");
        EXPECT_FAILS(copyFile(in(L"a"), in(L"gone\\b"), ExistingTarget::isFailure), errorPathNotFound);
        EXPECT_TRUE(createDirectory(in(L"d")));
        EXPECT_FAILS(copyFile(in(L"d"), in(L"e"), ExistingTarget::isFailure), errorAccessDenied);
    });
}

TEST_F(Copies, MissingSourceDirectoryIsPathNotFound) {
    onMachine([&] {
        EXPECT_FAILS(copyFile(in(L"gone\\f"), in(L"g"), ExistingTarget::isFailure), errorPathNotFound);
    });
}

TEST_F(Copies, CopyDoesNotReplaceADirectory) {
    onMachine([&] {
        write(in(L"f"), "x");
        EXPECT_TRUE(createDirectory(in(L"d")));
        EXPECT_FALSE(copyFile(in(L"f"), in(L"d"), ExistingTarget::isReplaced));
        EXPECT_TRUE(hasAttribute(in(L"d"), attributeDirectory));
    });
}

TEST_F(Copies, InvalidTargetFailsWithoutBeingCreated) {
    onMachine([&] {
        write(in(L"f"), "x");
        EXPECT_TRUE(createDirectory(in(L"d")));
        // Which of two errors comes first depends on the file system.
        EXPECT_FALSE(copyFile(in(L"f"), in(L"d"), ExistingTarget::isFailure));
        EXPECT_THAT(lastError(), testing::AnyOf(errorFileExists, errorAccessDenied));
        EXPECT_FAILS(copyFile(in(L"f"), in(L"d"), ExistingTarget::isReplaced), errorAccessDenied);
        EXPECT_FALSE(copyFile(in(L"f"), in(L"gone\\g"), ExistingTarget::isReplaced));
        EXPECT_FALSE(copyFile(in(L"f"), in(L"e\\"), ExistingTarget::isReplaced));
        EXPECT_FALSE(moveFile(in(L"f"), in(L"e\\"), 0));
        EXPECT_FALSE(fileAttributes(in(L"e")));
    });
}

TEST_F(Copies, CopyOntoItselfFails) {
    onMachine([&] {
        write(in(L"f"), "x");
        EXPECT_FALSE(copyFile(in(L"f"), in(L"F"), ExistingTarget::isReplaced));
        EXPECT_EQ(read(in(L"f")), "x");
    });
}

TEST_F(Copies, CopyDoesNotReplaceAReadOnlyFile) {
    SKIP_UNDER_WINE("leaves permissions to the host, whose superuser may write any file");
    onMachine([&] {
        write(in(L"f"), "new");
        makeFileWith(in(L"g"), attributeReadOnly);
        EXPECT_FAILS(copyFile(in(L"f"), in(L"g"), ExistingTarget::isReplaced), errorAccessDenied);
        EXPECT_EQ(read(in(L"g")), "");
    });
}

TEST_F(Copies, CopyDoesNotReplaceAHiddenFile) {
    SKIP_UNDER_WINE("replaces hidden files");
    onMachine([&] {
        write(in(L"f"), "new");
        makeFileWith(in(L"g"), attributeHidden);
        EXPECT_FAILS(copyFile(in(L"f"), in(L"g"), ExistingTarget::isReplaced), errorAccessDenied);
        EXPECT_EQ(read(in(L"g")), "");
    });
}

TEST_F(Copies, HiddenFileExistsForACopy) {
    onMachine([&] {
        write(in(L"f"), "new");
        makeFileWith(in(L"g"), attributeHidden);
        EXPECT_FAILS(copyFile(in(L"f"), in(L"g"), ExistingTarget::isFailure), errorFileExists);
        EXPECT_EQ(read(in(L"g")), "");
    });
}

}  // namespace
}  // namespace contract
