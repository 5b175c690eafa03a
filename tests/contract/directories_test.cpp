#include "contract/contract.h"

namespace {

using contract::isWine;
using contract::read;
using contract::write;
using namespace platform;

class Directories : public contract::Contract {};

TEST_F(Directories, ADirectoryIsMadeOneLevelAtATime) {
    onMachine([&] {
        EXPECT_FAILS(createDirectory(in(L"a\\b")), errorPathNotFound);
        EXPECT_TRUE(createDirectory(in(L"a")));
        EXPECT_TRUE(createDirectory(in(L"a/b")));
        EXPECT_FAILS(createDirectory(in(L"a")), errorAlreadyExists);
        write(in(L"f"), "");
        EXPECT_FAILS(createDirectory(in(L"f")), errorAlreadyExists);
        EXPECT_FAILS(createDirectory(in(L"f\\d")), errorPathNotFound);
        EXPECT_FAILS(createDirectory(in(L"a?b")), errorInvalidName);
        EXPECT_FALSE(createDirectory(L"C:\\"));
        if (!isWine()) {  // Wine takes the volume for a directory that it has made
            EXPECT_FALSE(createDirectory(L"\\\\?\\C:"));
        }
    });
}

TEST_F(Directories, OnlyEmptyDirectoriesAreRemoved) {
    onMachine([&] {
        EXPECT_TRUE(createDirectory(in(L"d")));
        write(in(L"d\\f"), "");
        EXPECT_FAILS(removeDirectory(in(L"d")), errorDirectoryNotEmpty);
        EXPECT_FAILS(removeDirectory(in(L"d\\f")), errorDirectory);
        EXPECT_TRUE(deleteFile(in(L"d\\f")));
        EXPECT_TRUE(removeDirectory(in(L"d")));
        EXPECT_FAILS(removeDirectory(in(L"d")), errorFileNotFound);
    });
}

TEST_F(Directories, ADirectoryIsRemovedWithASeparatorAtItsEnd) {
    onMachine([&] {
        EXPECT_TRUE(createDirectory(in(L"d\\")));
        EXPECT_TRUE(removeDirectory(in(L"d\\")));
        EXPECT_FALSE(fileAttributes(in(L"d")));
    });
}

TEST_F(Directories, ADirectoryIsMovedWithASeparatorBehindItsName) {
    onMachine([&] {
        EXPECT_TRUE(createDirectory(in(L"d")));
        write(in(L"d\\f"), "x");
        EXPECT_TRUE(moveFile(in(L"d\\"), in(L"e"), 0)) << lastError();
        EXPECT_EQ(read(in(L"e\\f")), "x");
    });
}

TEST_F(Directories, ADirectoryIsNotMovedIntoItself) {
    onMachine([&] {
        EXPECT_TRUE(createDirectory(in(L"d")));
        write(in(L"d\\f"), "x");
        EXPECT_FALSE(moveFile(in(L"d"), in(L"d\\e"), 0));
        EXPECT_EQ(read(in(L"d\\f")), "x");
    });
}

TEST_F(Directories, ADirectoryInUseAsTheCurrentOneOfAChild) {
    onMachine([&] {
        // The current directory of this process and its children: nobody takes it away under them.
        const std::wstring here = fullPathName(L".", 1000).value_or(L"");
        EXPECT_FALSE(removeDirectory(here));
        EXPECT_TRUE(fileAttributes(here));
    });
}

TEST_F(Directories, TheRootOfADriveIsNeitherMadeNorTakenAway) {
    onMachine([&] {
        const std::wstring drive = scratch.substr(0, 3);
        EXPECT_FALSE(createDirectory(drive));
        EXPECT_FALSE(removeDirectory(drive));
        EXPECT_FALSE(deleteFile(drive));
        EXPECT_FALSE(moveFile(drive, in(L"x"), 0));
        EXPECT_TRUE(fileAttributes(drive));
    });
}

}  // namespace
