#include "platform/files.h"

#include "contract/contract.h"

namespace {

using contract::attributesOf;
using contract::isWine;
using contract::makeWith;
using contract::read;
using contract::write;
using namespace platform;

// Files as they are made, moved and deleted; how they are copied and opened is told elsewhere.
class Files : public contract::Contract {};

TEST_F(Files, AttributesTellFilesFromDirectories) {
    onMachine([&] {
        write(in(L"f"), "");
        EXPECT_TRUE(createDirectory(in(L"d")));
        EXPECT_EQ(fileAttributes(in(L"f")).value_or(attributeDirectory) & attributeDirectory, 0U);
        EXPECT_NE(fileAttributes(in(L"d")).value_or(0) & attributeDirectory, 0U);
        EXPECT_NE(fileAttributes(in(L"d\\")).value_or(0) & attributeDirectory, 0U);
        EXPECT_NE(fileAttributes(L"C:\\").value_or(0) & attributeDirectory, 0U);
    });
}

TEST_F(Files, AFileIsMadeWithItsAttributesWhenItIsMissing) {
    onMachine([&] {
        const std::uint32_t attributes = attributeHidden | attributeNotContentIndexed;
        const Handle made = createFile(in(L"f"), accessRead | accessWrite, shareRead | shareWrite,
                                       openFileAlways, attributes);
        ASSERT_NE(made, Handle::none);
        closeHandle(made);
        EXPECT_NE(fileAttributes(in(L"f")).value_or(0) & attributeHidden, 0U);
        write(in(L"g"), "kept");
        closeHandle(createFile(in(L"g"), accessRead | accessWrite, shareRead | shareWrite, openFileAlways,
                               attributes));
        EXPECT_EQ(read(in(L"g")), "kept");
        EXPECT_EQ(fileAttributes(in(L"g")).value_or(attributeHidden) & attributeHidden, 0U);
        EXPECT_EQ(createFile(in(L"gone"), accessRead, shareRead, openExistingFile, attributeNormal),
                  Handle::none);
        EXPECT_EQ(lastError(), errorFileNotFound);
    });
}

TEST_F(Files, AFileKeepsTheNameThatItWasMadeWith) {
    onMachine([&] {
        write(in(L"Name"), "one");
        write(in(L"NAME"), "other");
        EXPECT_EQ(read(in(L"name")), "other");
        FindEntry entry;
        const FindHandle handle = findFirst(in(L"n*"), entry);
        EXPECT_EQ(entry.name, L"Name");
        EXPECT_FALSE(findNext(handle, entry));
        findClose(handle);
    });
}

TEST_F(Files, OnlyFilesAreDeleted) {
    onMachine([&] {
        EXPECT_FAILS(deleteFile(in(L"gone")), errorFileNotFound);
        EXPECT_FAILS(deleteFile(in(L"gone\\x")), errorPathNotFound);
        EXPECT_TRUE(createDirectory(in(L"d")));
        EXPECT_FAILS(deleteFile(in(L"d")), errorAccessDenied);
    });
}

TEST_F(Files, ANameIsFreeAtOnceBehindADeletion) {
    onMachine([&] {
        for (int i = 0; i < 20; ++i) {
            write(in(L"f"), "x");
            EXPECT_TRUE(deleteFile(in(L"f")));
            EXPECT_FAILS(fileAttributes(in(L"f")), errorFileNotFound);
            EXPECT_TRUE(createDirectory(in(L"f")));
            EXPECT_TRUE(removeDirectory(in(L"f")));
        }
    });
}

TEST_F(Files, AMissingParentIsToldByEveryRemoval) {
    onMachine([&] {
        EXPECT_FAILS(deleteFile(in(L"gone\\f")), errorPathNotFound);
        EXPECT_FAILS(removeDirectory(in(L"gone\\d")), errorPathNotFound);
        EXPECT_FAILS(moveFile(in(L"gone\\f"), in(L"g"), 0), errorPathNotFound);
    });
}

TEST_F(Files, AMoveRenamesFilesAndDirectories) {
    onMachine([&] {
        write(in(L"a"), "x");
        EXPECT_TRUE(moveFile(in(L"a"), in(L"b"), moveWriteThrough));
        EXPECT_EQ(read(in(L"a")), "(absent)");
        EXPECT_EQ(read(in(L"b")), "x");
        EXPECT_TRUE(createDirectory(in(L"d")));
        write(in(L"d\\f"), "y");
        EXPECT_TRUE(moveFile(in(L"d"), in(L"e"), moveWriteThrough));
        EXPECT_EQ(read(in(L"e\\f")), "y");
        EXPECT_TRUE(moveFile(L"\\\\?\\" + in(L"e\\f"), L"\\\\?\\" + in(L"f"), moveWriteThrough));
        EXPECT_EQ(read(in(L"f")), "y");
    });
}

TEST_F(Files, AMoveReplacesNothing) {
    onMachine([&] {
        write(in(L"a"), "x");
        write(in(L"b"), "y");
        EXPECT_FAILS(moveFile(in(L"a"), in(L"b"), moveWriteThrough), errorAlreadyExists);
        EXPECT_EQ(read(in(L"b")), "y");
        EXPECT_TRUE(createDirectory(in(L"d")));
        EXPECT_FAILS(moveFile(in(L"a"), in(L"d"), moveWriteThrough), errorAlreadyExists);
        EXPECT_FAILS(moveFile(in(L"gone"), in(L"c"), moveWriteThrough), errorFileNotFound);
        EXPECT_FAILS(moveFile(in(L"a"), in(L"gone\\c"), moveWriteThrough), errorPathNotFound);
    });
}

TEST_F(Files, AMoveDoesNotGoOverADirectory) {
    onMachine([&] {
        EXPECT_TRUE(createDirectory(in(L"d")));
        EXPECT_TRUE(createDirectory(in(L"e")));
        EXPECT_FAILS(moveFile(in(L"d"), in(L"e"), moveWriteThrough), errorAlreadyExists);
        write(in(L"f"), "x");
        EXPECT_FAILS(moveFile(in(L"d"), in(L"f"), moveWriteThrough), errorAlreadyExists);
        EXPECT_EQ(read(in(L"f")), "x");
    });
}

TEST_F(Files, AMoveMayChangeTheCaseAlone) {
    onMachine([&] {
        write(in(L"name"), "x");
        EXPECT_TRUE(moveFile(in(L"name"), in(L"NAME"), 0));
        FindEntry entry;
        const FindHandle handle = findFirst(in(L"nam?"), entry);
        ASSERT_NE(handle, FindHandle::none);
        if (!isWine()) {  // Wine takes both names for one and keeps the old one
            EXPECT_EQ(entry.name, L"NAME");
        }
        findClose(handle);
    });
}

TEST_F(Files, AHiddenFileIsDeletedAndMoved) {
    onMachine([&] {
        closeHandle(createFile(in(L"f"), accessWrite, 0, openFileAlways, attributeHidden));
        EXPECT_TRUE(moveFile(in(L"f"), in(L"g"), 0));
        EXPECT_NE(fileAttributes(in(L"g")).value_or(0) & attributeHidden, 0U);
        EXPECT_TRUE(deleteFile(in(L"g")));
    });
}

TEST_F(Files, AReadOnlyFileCanBeMadeAndReadAndNotDeleted) {
    onMachine([&] {
        makeWith(in(L"f"), attributeReadOnly);
        EXPECT_NE(attributesOf(in(L"f")) & attributeReadOnly, 0U);
        EXPECT_EQ(read(in(L"f")), "");
        EXPECT_FAILS(deleteFile(in(L"f")), errorAccessDenied);
        EXPECT_TRUE(fileAttributes(in(L"f")));
    });
}

TEST_F(Files, AReadOnlyFileCanBeMoved) {
    onMachine([&] {
        makeWith(in(L"f"), attributeReadOnly);
        EXPECT_TRUE(moveFile(in(L"f"), in(L"g"), 0));
        EXPECT_NE(attributesOf(in(L"g")) & attributeReadOnly, 0U);
    });
}

TEST_F(Files, AReadOnlyFileIsNotOpenedForWriting) {
    onMachine([&] {
        if (isWine()) {
            return;  // Wine leaves this to the system below it, whose superuser may write everything
        }
        makeWith(in(L"f"), attributeReadOnly);
        for (const char* mode : {"r+", "w", "w+", "a+"}) {
            EXPECT_FAILS(openStream(in(L"f"), mode) != nullptr, errorAccessDenied);
        }
        EXPECT_FAILS(createFile(in(L"f"), accessWrite, shareRead | shareWrite, openExistingFile,
                                attributeNormal) != Handle::none,
                     errorAccessDenied);
    });
}

TEST_F(Files, ADirectoryIsNotOpenedAsAFile) {
    onMachine([&] {
        EXPECT_FAILS(createFile(scratch, accessRead, shareRead, openExistingFile, 0) != Handle::none,
                     errorAccessDenied);
        EXPECT_FAILS(openStream(scratch, "a+") != nullptr, errorAccessDenied);
    });
}

TEST_F(Files, ClosingNothingIsNoFailure) {
    onMachine([&] { closeHandle(Handle::none); });
}

}  // namespace
