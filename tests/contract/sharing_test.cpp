#include "contract/children.h"
#include "contract/contract.h"

// What is possible with a file while it is open.
namespace contract {
namespace {

using namespace platform;

class Sharing : public Contract {};

TEST_F(Sharing, OpenFileCannotBeDeletedOrMoved) {
    onMachine([&] {
        write(in(L"a"), "x");
        Stream* stream = openStream(in(L"a"), "r");
        EXPECT_FAILS(deleteFile(in(L"a")), errorSharingViolation);
        EXPECT_FAILS(moveFile(in(L"a"), in(L"b"), moveWriteThrough), errorSharingViolation);
        EXPECT_TRUE(copyFile(in(L"a"), in(L"c"), ExistingTarget::isFailure));
        closeStream(stream);
        EXPECT_TRUE(deleteFile(in(L"a")));
        EXPECT_EQ(read(in(L"a")), "(absent)");
    });
}

TEST_F(Sharing, MoveDoesNotReplaceAnOpenFile) {
    onMachine([&] {
        write(in(L"new"), "new");
        write(in(L"old"), "old");
        Stream* stream = openStream(in(L"old"), "r");
        EXPECT_FAILS(moveFile(in(L"new"), in(L"old"), moveWriteThrough), errorAlreadyExists);
        EXPECT_EQ(readUpTo(stream, 10), "old");
        closeStream(stream);
        EXPECT_EQ(read(in(L"new")), "new");
    });
}

TEST_F(Sharing, DirectoryOfAnOpenFileCannotBeMoved) {
    SKIP_UNDER_WINE("moves it, as its host does");
    onMachine([&] {
        EXPECT_TRUE(createDirectory(in(L"d")));
        write(in(L"d\\f"), "x");
        Stream* stream = openStream(in(L"d\\f"), "r");
        ASSERT_NE(stream, nullptr);
        EXPECT_FAILS(moveFile(in(L"d"), in(L"e"), 0), errorAccessDenied);
        closeStream(stream);
    });
}

TEST_F(Sharing, UnsharedFileCannotBeOpenedAgain) {
    onMachine([&] {
        write(in(L"f"), "x");
        const Handle unshared =
            createFile(in(L"f"), accessRead | accessWrite, 0, openExistingFile, attributeNormal);
        ASSERT_NE(unshared, Handle::none);
        EXPECT_FAILS(openStream(in(L"f"), "r"), errorSharingViolation);
        EXPECT_TRUE(fileAttributes(in(L"f")));
        closeHandle(unshared);
        EXPECT_EQ(read(in(L"f")), "x");
    });
}

TEST_F(Sharing, SharingMustFitEarlierAccess) {
    onMachine([&] {
        write(in(L"f"), "x");
        Stream* stream = openStream(in(L"f"), "r+");
        ASSERT_NE(stream, nullptr);
        EXPECT_FAILS(createFile(in(L"f"), accessRead, shareRead, openExistingFile, 0), errorSharingViolation);
        const Handle shared = createFile(in(L"f"), accessRead, shareRead | shareWrite, openExistingFile, 0);
        EXPECT_NE(shared, Handle::none);
        closeHandle(shared);
        closeStream(stream);
    });
}

TEST_F(Sharing, CopyReadsAFileThatIsBeingWritten) {
    onMachine([&] {
        Stream* writer = openStream(in(L"f"), "w");
        EXPECT_TRUE(writeStream(writer, "text"));
        EXPECT_TRUE(flushStream(writer));
        EXPECT_TRUE(copyFile(in(L"f"), in(L"g"), ExistingTarget::isFailure)) << lastError();
        EXPECT_EQ(read(in(L"g")), "text");
        closeStream(writer);
    });
}

// A system may refuse to write to a file that is being read. The launcher copies only to new files.
TEST_F(Sharing, CopyReplacesAFileThatIsBeingReadOrLeavesIt) {
    onMachine([&] {
        write(in(L"f"), "new");
        write(in(L"g"), "older");
        Stream* reader = openStream(in(L"g"), "r");
        const bool isReplaced = copyFile(in(L"f"), in(L"g"), ExistingTarget::isReplaced);
        EXPECT_TRUE(isReplaced || lastError() == errorSharingViolation) << lastError();
        EXPECT_EQ(readUpTo(reader, 10), isReplaced ? "new" : "older");
        closeStream(reader);
    });
}

TEST_F(Sharing, UnsharedSourceCannotBeCopied) {
    onMachine([&] {
        write(in(L"f"), "x");
        const Handle unshared = createFile(in(L"f"), accessRead, 0, openExistingFile, attributeNormal);
        EXPECT_FAILS(copyFile(in(L"f"), in(L"g"), ExistingTarget::isReplaced), errorSharingViolation);
        closeHandle(unshared);
        EXPECT_FALSE(fileAttributes(in(L"g")));
    });
}

TEST_F(Sharing, FileOpenInAnotherProcessCannotBeDeletedOrMoved) {
    onMachine([&] {
        write(in(L"f"), "x");
        const Holder holder = startHolder(scratch, L"lock", in(L"f"));
        EXPECT_FAILS(deleteFile(in(L"f")), errorSharingViolation);
        EXPECT_FAILS(moveFile(in(L"f"), in(L"g"), 0), errorSharingViolation);
        EXPECT_FAILS(createFile(in(L"f"), accessRead, 0, openExistingFile, 0), errorSharingViolation);
        release(holder);
        EXPECT_TRUE(moveFile(in(L"f"), in(L"g"), 0));
        EXPECT_TRUE(deleteFile(in(L"g")));
    });
}

TEST_F(Sharing, ChildDoesNotInheritOpenFiles) {
    onMachine([&] {
        write(in(L"f"), "x");
        Stream* stream = openStream(in(L"f"), "r+");
        const Handle file = createFile(in(L"g"), accessWrite, 0, openFileAlways, attributeNormal);
        const Holder child = startHolder(scratch, L"semaphore", L"Global\\zl-contract-files");
        EXPECT_TRUE(closeStream(stream));
        closeHandle(file);
        EXPECT_TRUE(deleteFile(in(L"f"))) << lastError();
        EXPECT_TRUE(deleteFile(in(L"g"))) << lastError();
        release(child);
    });
}

}  // namespace
}  // namespace contract
