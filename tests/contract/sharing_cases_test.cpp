#include <set>

#include "contract/children.h"
#include "contract/contract.h"

// Files that somebody else has open, and names that something else has.
namespace {

using contract::Holder;
using contract::isWine;
using contract::letGo;
using contract::read;
using contract::startHolder;
using contract::write;
using namespace platform;

std::string take(Stream* stream, std::size_t count) {
    std::string buffer(count, '\0');
    buffer.resize(readStream(stream, buffer.data(), count));
    return buffer;
}

class Sharing : public contract::Contract {};

TEST_F(Sharing, AMoveDoesNotGoOverAnOpenFile) {
    onMachine([&] {
        write(in(L"new"), "new");
        write(in(L"old"), "old");
        Stream* stream = openStream(in(L"old"), "r");
        EXPECT_FAILS(moveFile(in(L"new"), in(L"old"), moveWriteThrough), errorAlreadyExists);
        EXPECT_EQ(take(stream, 10), "old");
        closeStream(stream);
        EXPECT_EQ(read(in(L"new")), "new");
    });
}

TEST_F(Sharing, AnotherProcessKeepsAFileInItsPlace) {
    onMachine([&] {
        write(in(L"f"), "x");
        const Holder holder = startHolder(scratch, L"lock", in(L"f"));
        EXPECT_FAILS(deleteFile(in(L"f")), errorSharingViolation);
        EXPECT_FAILS(moveFile(in(L"f"), in(L"g"), 0), errorSharingViolation);
        EXPECT_FAILS(createFile(in(L"f"), accessRead, 0, openExistingFile, 0) != Handle::none,
                     errorSharingViolation);
        letGo(holder);
        EXPECT_TRUE(moveFile(in(L"f"), in(L"g"), 0));
        EXPECT_TRUE(deleteFile(in(L"g")));
    });
}

TEST_F(Sharing, ACopyReadsAFileThatOthersWrite) {
    onMachine([&] {
        Stream* writer = openStream(in(L"f"), "w");
        EXPECT_TRUE(writeStream(writer, "text"));
        EXPECT_TRUE(flushStream(writer));
        EXPECT_TRUE(copyFile(in(L"f"), in(L"g"), true)) << lastError();
        EXPECT_EQ(read(in(L"g")), "text");
        closeStream(writer);
    });
}

TEST_F(Sharing, ACopyGoesOverAFileThatOthersRead) {
    onMachine([&] {
        write(in(L"f"), "new");
        write(in(L"g"), "older");
        Stream* reader = openStream(in(L"g"), "r");
        EXPECT_TRUE(copyFile(in(L"f"), in(L"g"), false)) << lastError();
        EXPECT_EQ(take(reader, 10), "new");
        closeStream(reader);
    });
}

TEST_F(Sharing, ACopyDoesNotGoOverAHiddenFile) {
    onMachine([&] {
        write(in(L"f"), "new");
        closeHandle(createFile(in(L"g"), accessWrite, 0, openFileAlways, attributeHidden));
        if (!isWine()) {  // Wine copies over what is hidden
            EXPECT_FAILS(copyFile(in(L"f"), in(L"g"), false), errorAccessDenied);
            EXPECT_EQ(read(in(L"g")), "");
        }
        EXPECT_FAILS(copyFile(in(L"f"), in(L"g"), true), errorFileExists);
    });
}

TEST_F(Sharing, ACopyOntoADirectoryAndAMissingOneAreToldApart) {
    onMachine([&] {
        write(in(L"f"), "x");
        EXPECT_TRUE(createDirectory(in(L"d")));
        EXPECT_FAILS(copyFile(in(L"f"), in(L"d"), true), errorFileExists);
        EXPECT_FAILS(copyFile(in(L"f"), in(L"d"), false), errorAccessDenied);
        EXPECT_FALSE(copyFile(in(L"f"), in(L"gone\\g"), false));
        EXPECT_FALSE(copyFile(in(L"f"), in(L"e\\"), false));
        EXPECT_FALSE(moveFile(in(L"f"), in(L"e\\"), 0));
        EXPECT_FALSE(fileAttributes(in(L"e")));
    });
}

TEST_F(Sharing, TheRootOfADriveIsNeitherMadeNorTakenAway) {
    onMachine([&] {
        const std::wstring drive = scratch.substr(0, 3);
        EXPECT_FALSE(createDirectory(drive));
        EXPECT_FALSE(removeDirectory(drive));
        EXPECT_FALSE(deleteFile(drive));
        EXPECT_FALSE(moveFile(drive, in(L"x"), 0));
        EXPECT_TRUE(fileAttributes(drive));
    });
}

TEST_F(Sharing, ADriveThatIsNotThere) {
    // Wine does not tell a missing drive from a missing file.
    const ErrorCode missing = isWine() ? errorFileNotFound : errorPathNotFound;
    onMachine([&] {
        EXPECT_FAILS(fileAttributes(L"Q:\\x"), missing);
        EXPECT_FAILS(createDirectory(L"Q:\\x"), missing);
        EXPECT_FAILS(openStream(L"Q:\\x", "w") != nullptr, missing);
        EXPECT_EQ(fullPathName(L"Q:\\a\\..\\b", 260), L"Q:\\b");
    });
}

TEST_F(Sharing, ADirectoryInUseAsTheCurrentOneOfAChild) {
    onMachine([&] {
        // The current directory of this process and its children: nobody takes it away under them.
        const std::wstring here = fullPathName(L".", 1000).value_or(L"");
        EXPECT_FALSE(removeDirectory(here));
        EXPECT_TRUE(fileAttributes(here));
    });
}

TEST_F(Sharing, ANameIsFreeAtOnceBehindADeletion) {
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

TEST_F(Sharing, AFileKeepsTheNameThatItWasMadeWith) {
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

TEST_F(Sharing, EntriesMayGoWhileTheyAreWalkedOver) {
    onMachine([&] {
        EXPECT_TRUE(createDirectory(in(L"d")));
        for (int i = 0; i < 300; ++i) {
            write(in(L"d\\f" + std::to_wstring(i)), "");
        }
        FindEntry entry;
        const FindHandle handle = findFirst(in(L"d\\*"), entry);
        ASSERT_NE(handle, FindHandle::none);
        int count = 0;
        do {
            if ((entry.attributes & attributeDirectory) == 0) {
                EXPECT_TRUE(deleteFile(in(L"d\\" + entry.name)));
                ++count;
            }
        } while (findNext(handle, entry));
        findClose(handle);
        EXPECT_EQ(count, 300);
        EXPECT_TRUE(removeDirectory(in(L"d"))) << lastError();
    });
}

TEST_F(Sharing, AWalkHasEachOfManyEntriesOnce) {
    onMachine([&] {
        for (int i = 0; i < 500; ++i) {
            write(in(L"file with a longer name " + std::to_wstring(i)), "");
        }
        std::set<std::wstring> names;
        FindEntry entry;
        const FindHandle handle = findFirst(in(L"file*"), entry);
        bool isNew = true;
        do {
            isNew = isNew && names.insert(entry.name).second;
        } while (findNext(handle, entry));
        findClose(handle);
        EXPECT_TRUE(isNew);
        EXPECT_EQ(names.size(), 500U);
    });
}

TEST_F(Sharing, ASeparatorBehindAName) {
    onMachine([&] {
        write(in(L"f"), "x");
        EXPECT_TRUE(createDirectory(in(L"d")));
        EXPECT_TRUE(fileAttributes(in(L"d/")));
        EXPECT_TRUE(fileAttributes(in(L"d\\\\")));
        EXPECT_FAILS(fileAttributes(in(L"gone\\")), errorFileNotFound);
        EXPECT_FALSE(fileAttributes(in(L"f\\")));
        EXPECT_FALSE(fileAttributes(in(L"f/")));
        EXPECT_FALSE(deleteFile(in(L"f\\")));
        EXPECT_EQ(openStream(in(L"f\\"), "r"), nullptr);
        EXPECT_EQ(read(in(L"f")), "x");
    });
}

TEST_F(Sharing, ADirectoryIsMovedWithASeparatorBehindItsName) {
    onMachine([&] {
        EXPECT_TRUE(createDirectory(in(L"d")));
        write(in(L"d\\f"), "x");
        EXPECT_TRUE(moveFile(in(L"d\\"), in(L"e"), 0)) << lastError();
        EXPECT_EQ(read(in(L"e\\f")), "x");
    });
}

TEST_F(Sharing, AMoveDoesNotGoOverADirectory) {
    onMachine([&] {
        EXPECT_TRUE(createDirectory(in(L"d")));
        EXPECT_TRUE(createDirectory(in(L"e")));
        EXPECT_FAILS(moveFile(in(L"d"), in(L"e"), moveWriteThrough), errorAlreadyExists);
        write(in(L"f"), "x");
        EXPECT_FAILS(moveFile(in(L"d"), in(L"f"), moveWriteThrough), errorAlreadyExists);
        EXPECT_EQ(read(in(L"f")), "x");
    });
}

TEST_F(Sharing, AHiddenFileIsDeletedAndMoved) {
    onMachine([&] {
        closeHandle(createFile(in(L"f"), accessWrite, 0, openFileAlways, attributeHidden));
        EXPECT_TRUE(moveFile(in(L"f"), in(L"g"), 0));
        EXPECT_NE(fileAttributes(in(L"g")).value_or(0) & attributeHidden, 0U);
        EXPECT_TRUE(deleteFile(in(L"g")));
    });
}

TEST_F(Sharing, ALongFileIsReadAndWrittenInTheLongForm) {
    onMachine([&] {
        std::wstring path = L"\\\\?\\" + scratch;
        for (int level = 0; level < 3; ++level) {
            path += L"\\" + std::wstring(100, L'd');
            EXPECT_TRUE(createDirectory(path));
        }
        write(path + L"\\f", "text");
        EXPECT_EQ(read(path + L"\\f"), "text");
        EXPECT_TRUE(copyFile(path + L"\\f", path + L"\\g", true));
        EXPECT_TRUE(moveFile(path + L"\\g", path + L"\\h", moveWriteThrough));
        EXPECT_TRUE(deleteFile(path + L"\\f"));
        EXPECT_EQ(read(path + L"\\h"), "text");
    });
}

TEST_F(Sharing, TwoAppendersWriteBehindEachOther) {
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

TEST_F(Sharing, AReaderOfAnEmptiedFileSeesNothingBehindARewind) {
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

TEST_F(Sharing, ALockIsTakenAnewWithAnotherLength) {
    onMachine([&] {
        write(in(L"f"), "");
        Stream* stream = openStream(in(L"f"), "r+");
        EXPECT_TRUE(lockStream(stream, 10));
        EXPECT_TRUE(unlockStream(stream, 10));
        EXPECT_TRUE(lockStream(stream, 100));
        EXPECT_TRUE(unlockStream(stream, 100));
        closeStream(stream);
    });
}

TEST_F(Sharing, AClosingThatCannotWriteTells) {
    onMachine([&] {
        write(in(L"f"), "123");
        Stream* holder = openStream(in(L"f"), "r+");
        Stream* other = openStream(in(L"f"), "r+");
        EXPECT_TRUE(lockStream(holder, 10));
        EXPECT_TRUE(writeStream(other, "x"));
        if (isWine()) {  // Wine's locks keep other locks out, and no writers
            EXPECT_TRUE(closeStream(other));
        } else {
            EXPECT_FAILS(closeStream(other), errorLockViolation);
        }
        closeStream(holder);
        EXPECT_EQ(read(in(L"f")), isWine() ? "x23" : "123");
    });
}

TEST_F(Sharing, NothingIsReadAndNothingIsWrittenOfNoBytes) {
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

}  // namespace
