#include "contract/contract.h"

// Deleting a file that another program has open and shares for deletion, as virus scanners do.
namespace contract {
namespace {

using namespace platform;

// The name stays until the last handle is closed, or it is gone at once: Windows 10 and later remove it at
// once on their own file system, but not on others.
class Deletions : public Contract {
protected:
    Handle first = Handle::none;
    Handle second = Handle::none;

    static Handle openShared(const std::wstring& path) {
        const Handle file = createFile(path, accessRead, shareRead | shareWrite | shareDelete,
                                       openExistingFile, attributeNormal);
        EXPECT_NE(file, Handle::none) << lastError();
        return file;
    }
    // Deletes the file `f` in a directory `d` while two handles are open. False if its name is gone then.
    bool deleteOpenFile() {
        EXPECT_TRUE(createDirectory(in(L"d")));
        write(in(L"d\\f"), "text");
        first = openShared(in(L"d\\f"));
        second = openShared(in(L"d\\f"));
        EXPECT_TRUE(deleteFile(in(L"d\\f"))) << lastError();
        return fileAttributes(in(L"d\\f")) || lastError() != errorFileNotFound;
    }
    void closeBoth() const {
        closeHandle(first);
        closeHandle(second);
    }
};

// Skips the test if the name is not kept.
#define KEEP_THE_NAME()                                                      \
    if (!deleteOpenFile()) {                                                 \
        closeBoth();                                                         \
        GTEST_SKIP() << "this file system removes the name of an open file"; \
    }
#define SKIP_IF_USABLE()                                                          \
    if (isWine()) {                                                               \
        GTEST_SKIP() << "Wine keeps the name, but lets the file be used as well"; \
    }

TEST_F(Deletions, NameIsGoneWithTheLastHandle) {
    onMachine([&] {
        deleteOpenFile();
        closeBoth();
        EXPECT_FAILS(fileAttributes(in(L"d\\f")), errorFileNotFound);
        EXPECT_TRUE(removeDirectory(in(L"d"))) << lastError();
    });
}

TEST_F(Deletions, UnsharedHandlePreventsTheDeletion) {
    onMachine([&] {
        write(in(L"f"), "text");
        first = openShared(in(L"f"));
        second = createFile(in(L"f"), accessRead, shareRead | shareWrite, openExistingFile, attributeNormal);
        EXPECT_FAILS(deleteFile(in(L"f")), errorSharingViolation);
        closeHandle(second);
        EXPECT_TRUE(deleteFile(in(L"f"))) << lastError();
        closeHandle(first);
    });
}

TEST_F(Deletions, OpenFileCanBeMoved) {
    onMachine([&] {
        write(in(L"f"), "text");
        first = openShared(in(L"f"));
        EXPECT_TRUE(moveFile(in(L"f"), in(L"g"), moveWriteThrough)) << lastError();
        EXPECT_EQ(read(in(L"g")), "text");
        closeHandle(first);
        EXPECT_TRUE(deleteFile(in(L"g")));
    });
}

TEST_F(Deletions, DeletedFileKeepsItsDirectory) {
    onMachine([&] {
        KEEP_THE_NAME();
        EXPECT_EQ(namesMatching(in(L"d\\*f*")), (std::vector<std::wstring>{L"f"}));
        EXPECT_FAILS(removeDirectory(in(L"d")), errorDirectoryNotEmpty);
        closeHandle(first);
        EXPECT_FAILS(removeDirectory(in(L"d")), errorDirectoryNotEmpty);
        closeHandle(second);
        EXPECT_TRUE(removeDirectory(in(L"d"))) << lastError();
    });
}

TEST_F(Deletions, NoOtherFileTakesTheName) {
    onMachine([&] {
        KEEP_THE_NAME();
        write(in(L"g"), "other");
        EXPECT_FAILS(moveFile(in(L"g"), in(L"d\\f"), 0), errorAlreadyExists);
        EXPECT_FALSE(createDirectory(in(L"d\\f")));
        EXPECT_EQ(read(in(L"g")), "other");
        closeBoth();
    });
}

TEST_F(Deletions, DeletedFileCannotBeUsed) {
    onMachine([&] {
        SKIP_IF_USABLE();
        KEEP_THE_NAME();
        EXPECT_FAILS(fileAttributes(in(L"d\\f")), errorAccessDenied);
        EXPECT_FAILS(openStream(in(L"d\\f"), "r"), errorAccessDenied);
        EXPECT_FAILS(copyFile(in(L"d\\f"), in(L"g"), ExistingTarget::isFailure), errorAccessDenied);
        EXPECT_FAILS(flushFile(in(L"d\\f")), errorAccessDenied);
        EXPECT_FAILS(moveFile(in(L"d\\f"), in(L"g"), 0), errorAccessDenied);
        EXPECT_FAILS(deleteFile(in(L"d\\f")), errorAccessDenied);
        closeBoth();
    });
}

TEST_F(Deletions, DeletedFileCannotBeCreatedAgain) {
    onMachine([&] {
        SKIP_IF_USABLE();
        KEEP_THE_NAME();
        write(in(L"g"), "other");
        EXPECT_FAILS(openStream(in(L"d\\f"), "w"), errorAccessDenied);
        EXPECT_FAILS(createFile(in(L"d\\f"), accessRead | accessWrite, shareRead | shareWrite, openFileAlways,
                                attributeNormal),
                     errorAccessDenied);
        EXPECT_FAILS(createDirectory(in(L"d\\f")), errorAccessDenied);
        EXPECT_FAILS(copyFile(in(L"g"), in(L"d\\f"), ExistingTarget::isReplaced), errorAccessDenied);
        closeBoth();
    });
}

}  // namespace
}  // namespace contract
