#include "contract/contract.h"

namespace contract {
namespace {

using namespace platform;

class Directories : public Contract {};

TEST_F(Directories, OnlyOneMissingLevelIsCreated) {
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
    });
}

TEST_F(Directories, VolumeCannotBeCreated) {
    SKIP_UNDER_WINE("claims to have created it");
    onMachine([&] { EXPECT_FALSE(createDirectory(longForm(L"C:"))); });
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

TEST_F(Directories, TrailingSeparatorIsAllowedWhenCreatingAndRemoving) {
    onMachine([&] {
        EXPECT_TRUE(createDirectory(in(L"d\\")));
        EXPECT_TRUE(removeDirectory(in(L"d\\")));
        EXPECT_FALSE(fileAttributes(in(L"d")));
    });
}

TEST_F(Directories, TrailingSeparatorIsAllowedWhenMoving) {
    onMachine([&] {
        EXPECT_TRUE(createDirectory(in(L"d")));
        write(in(L"d\\f"), "x");
        EXPECT_TRUE(moveFile(in(L"d\\"), in(L"e"), 0)) << lastError();
        EXPECT_EQ(read(in(L"e\\f")), "x");
    });
}

TEST_F(Directories, MoveIntoItselfFails) {
    onMachine([&] {
        EXPECT_TRUE(createDirectory(in(L"d")));
        write(in(L"d\\f"), "x");
        EXPECT_FALSE(moveFile(in(L"d"), in(L"d\\e"), 0));
        EXPECT_EQ(read(in(L"d\\f")), "x");
    });
}

TEST_F(Directories, CurrentDirectoryCannotBeRemoved) {
    onMachine([&] {
        const std::wstring current = fullPathName(L".", 1000).value_or(L"");
        EXPECT_FALSE(removeDirectory(current));
        EXPECT_TRUE(fileAttributes(current));
    });
}

TEST_F(Directories, DriveRootCannotBeCreatedRemovedOrMoved) {
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
}  // namespace contract
