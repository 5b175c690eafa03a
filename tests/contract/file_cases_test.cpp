#include <algorithm>

#include "contract/contract.h"

namespace {

using contract::isWine;
using contract::read;
using contract::write;
using namespace platform;

class FileCases : public contract::Contract {
protected:
    static void makeWith(const std::wstring& path, std::uint32_t attributes) {
        const Handle file = createFile(path, accessRead | accessWrite, 0, openFileAlways, attributes);
        EXPECT_NE(file, Handle::none) << lastError();
        closeHandle(file);
    }
    static std::uint32_t attributesOf(const std::wstring& path) { return fileAttributes(path).value_or(0); }
};

TEST_F(FileCases, AReadOnlyFileCanBeMadeAndReadAndNotDeleted) {
    onMachine([&] {
        makeWith(in(L"f"), attributeReadOnly);
        EXPECT_NE(attributesOf(in(L"f")) & attributeReadOnly, 0U);
        EXPECT_EQ(read(in(L"f")), "");
        EXPECT_FAILS(deleteFile(in(L"f")), errorAccessDenied);
        EXPECT_TRUE(fileAttributes(in(L"f")));
    });
}

TEST_F(FileCases, AReadOnlyFileIsNotOpenedForWriting) {
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

TEST_F(FileCases, AReadOnlyFileCanBeMoved) {
    onMachine([&] {
        makeWith(in(L"f"), attributeReadOnly);
        EXPECT_TRUE(moveFile(in(L"f"), in(L"g"), 0));
        EXPECT_NE(attributesOf(in(L"g")) & attributeReadOnly, 0U);
    });
}

TEST_F(FileCases, ACopyKeepsTheAttributes) {
    onMachine([&] {
        makeWith(in(L"f"), attributeReadOnly);
        EXPECT_TRUE(copyFile(in(L"f"), in(L"g"), true));
        EXPECT_NE(attributesOf(in(L"g")) & attributeReadOnly, 0U);
    });
}

TEST_F(FileCases, ACopyDoesNotReplaceAReadOnlyFile) {
    onMachine([&] {
        if (isWine()) {
            return;  // Wine leaves this to the system below it, whose superuser may write everything
        }
        write(in(L"f"), "new");
        makeWith(in(L"g"), attributeReadOnly);
        EXPECT_FAILS(copyFile(in(L"f"), in(L"g"), false), errorAccessDenied);
        EXPECT_EQ(read(in(L"g")), "");
    });
}

TEST_F(FileCases, ACopyDoesNotReplaceADirectory) {
    onMachine([&] {
        write(in(L"f"), "x");
        EXPECT_TRUE(createDirectory(in(L"d")));
        EXPECT_FALSE(copyFile(in(L"f"), in(L"d"), false));
        EXPECT_NE(attributesOf(in(L"d")) & attributeDirectory, 0U);
    });
}

TEST_F(FileCases, ACopyNeedsASharedSource) {
    onMachine([&] {
        write(in(L"f"), "x");
        const Handle only = createFile(in(L"f"), accessRead, 0, openExistingFile, attributeNormal);
        EXPECT_FAILS(copyFile(in(L"f"), in(L"g"), false), errorSharingViolation);
        closeHandle(only);
        EXPECT_FALSE(fileAttributes(in(L"g")));
    });
}

TEST_F(FileCases, AFileIsNotCopiedOntoItself) {
    onMachine([&] {
        write(in(L"f"), "x");
        EXPECT_FALSE(copyFile(in(L"f"), in(L"F"), false));
        EXPECT_EQ(read(in(L"f")), "x");
    });
}

TEST_F(FileCases, ACopyFromAMissingDirectoryIsAMissingPath) {
    onMachine([&] { EXPECT_FAILS(copyFile(in(L"gone\\f"), in(L"g"), true), errorPathNotFound); });
}

TEST_F(FileCases, AMoveMayChangeTheCaseAlone) {
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

TEST_F(FileCases, ADirectoryIsNotMovedIntoItself) {
    onMachine([&] {
        EXPECT_TRUE(createDirectory(in(L"d")));
        write(in(L"d\\f"), "x");
        EXPECT_FALSE(moveFile(in(L"d"), in(L"d\\e"), 0));
        EXPECT_EQ(read(in(L"d\\f")), "x");
    });
}

TEST_F(FileCases, ADirectoryWithAnOpenFileIsNotMoved) {
    onMachine([&] {
        EXPECT_TRUE(createDirectory(in(L"d")));
        write(in(L"d\\f"), "x");
        Stream* stream = openStream(in(L"d\\f"), "r");
        ASSERT_NE(stream, nullptr);
        if (!isWine()) {  // Wine moves it, as the system below it does
            EXPECT_FAILS(moveFile(in(L"d"), in(L"e"), 0), errorAccessDenied);
        }
        closeStream(stream);
    });
}

TEST_F(FileCases, AMissingParentIsToldByEveryRemoval) {
    onMachine([&] {
        EXPECT_FAILS(deleteFile(in(L"gone\\f")), errorPathNotFound);
        EXPECT_FAILS(removeDirectory(in(L"gone\\d")), errorPathNotFound);
        EXPECT_FAILS(moveFile(in(L"gone\\f"), in(L"g"), 0), errorPathNotFound);
    });
}

TEST_F(FileCases, ADirectoryIsRemovedWithASeparatorAtItsEnd) {
    onMachine([&] {
        EXPECT_TRUE(createDirectory(in(L"d\\")));
        EXPECT_TRUE(removeDirectory(in(L"d\\")));
        EXPECT_FALSE(fileAttributes(in(L"d")));
    });
}

TEST_F(FileCases, ANameWithInvalidCharactersIsRefused) {
    onMachine([&] {
        for (const wchar_t* name : {L"a*", L"a?", L"a<", L"a>", L"a|", L"a\""}) {
            EXPECT_FAILS(fileAttributes(in(name)), errorInvalidName);
            EXPECT_FAILS(createDirectory(in(name)), errorInvalidName);
            EXPECT_FAILS(openStream(in(name), "w") != nullptr, errorInvalidName);
        }
    });
}

TEST_F(FileCases, AFileIsNotMadeWithASeparatorAtItsEnd) {
    onMachine([&] {
        EXPECT_EQ(openStream(in(L"f\\"), "w"), nullptr);
        EXPECT_EQ(createFile(in(L"f\\"), accessWrite, 0, openFileAlways, attributeNormal), Handle::none);
        EXPECT_FALSE(fileAttributes(in(L"f")));
    });
}

TEST_F(FileCases, DotsAndBlanksAtTheEndOfANameAreDropped) {
    onMachine([&] {
        EXPECT_TRUE(createDirectory(in(L"d. .")));
        EXPECT_TRUE(fileAttributes(in(L"d")));
        EXPECT_TRUE(fileAttributes(in(L"d...")));
    });
}

TEST_F(FileCases, TheLongFormKeepsDotsAtTheEndOfAName) {
    onMachine([&] {
        EXPECT_TRUE(createDirectory(L"\\\\?\\" + in(L"d.")));
        EXPECT_TRUE(fileAttributes(L"\\\\?\\" + in(L"d.")));
        EXPECT_FALSE(fileAttributes(in(L"d")));
    });
}

TEST_F(FileCases, APlainPathOfADirectoryIsShorterThan248Characters) {
    onMachine([&] {
        const std::size_t room = 247 - scratch.size() - 1;
        EXPECT_TRUE(createDirectory(in(std::wstring(room, L'd'))));
        if (!isWine()) {  // Wine has no limit for plain paths
            EXPECT_FAILS(createDirectory(in(std::wstring(room + 1, L'd'))), errorFileNameTooLong);
        }
    });
}

TEST_F(FileCases, APlainPathOfAFileIsShorterThan260Characters) {
    onMachine([&] {
        const std::size_t room = 259 - scratch.size() - 1;
        write(in(std::wstring(room, L'f')), "x");
        EXPECT_EQ(read(in(std::wstring(room, L'f'))), "x");
        if (!isWine()) {  // Wine has no limit for plain paths
            EXPECT_FAILS(openStream(in(std::wstring(room + 1, L'f')), "w") != nullptr, errorPathNotFound);
        }
    });
}

TEST_F(FileCases, APatternStarDotStarFitsNamesWithoutADot) {
    onMachine([&] {
        EXPECT_TRUE(createDirectory(in(L"d")));
        FindEntry entry;
        const FindHandle handle = findFirst(in(L"*.*"), entry);
        ASSERT_NE(handle, FindHandle::none);
        bool isFound = entry.name == L"d";
        while (findNext(handle, entry)) {
            isFound = isFound || entry.name == L"d";
        }
        EXPECT_TRUE(isFound);
        findClose(handle);
    });
}

TEST_F(FileCases, ASearchNeedsAPatternAndADirectory) {
    onMachine([&] {
        write(in(L"f"), "");
        FindEntry entry;
        entry.name = L"untouched";
        EXPECT_FAILS(findFirst(scratch + L"\\", entry) != FindHandle::none, errorFileNotFound);
        EXPECT_EQ(findFirst(in(L"f\\*"), entry), FindHandle::none);
        EXPECT_EQ(entry.name, L"untouched");
        findClose(FindHandle::none);
    });
}

TEST_F(FileCases, TwoWalksDoNotDisturbEachOther) {
    onMachine([&] {
        write(in(L"a1"), "");
        write(in(L"b1"), "");
        FindEntry first;
        FindEntry second;
        const FindHandle one = findFirst(in(L"a*"), first);
        const FindHandle other = findFirst(in(L"b*"), second);
        EXPECT_EQ(first.name, L"a1");
        EXPECT_EQ(second.name, L"b1");
        EXPECT_FALSE(findNext(one, first));
        findClose(one);
        EXPECT_FALSE(findNext(other, second));
        findClose(other);
    });
}

TEST_F(FileCases, ANameBehindADriveAloneIsInItsCurrentDirectory) {
    onMachine([&] {
        const std::wstring here = fullPathName(L".", 1000).value_or(L"");
        const std::wstring drive = here.substr(0, 2);
        EXPECT_EQ(fullPathName(drive + L"x", 1000), fullPathName(L"x", 1000));
    });
}

TEST_F(FileCases, AFullPathOfAShareStaysWithinIt) {
    onMachine([&] {
        EXPECT_EQ(fullPathName(L"//server/share/a", 260), L"\\\\server\\share\\a");
        EXPECT_EQ(fullPathName(L"\\\\server\\share\\a\\..\\b", 260), L"\\\\server\\share\\b");
    });
}

TEST_F(FileCases, SharingIsCheckedBothWays) {
    onMachine([&] {
        write(in(L"f"), "x");
        Stream* stream = openStream(in(L"f"), "r+");
        ASSERT_NE(stream, nullptr);
        EXPECT_FAILS(createFile(in(L"f"), accessRead, shareRead, openExistingFile, 0) != Handle::none,
                     errorSharingViolation);
        const Handle shared = createFile(in(L"f"), accessRead, shareRead | shareWrite, openExistingFile, 0);
        EXPECT_NE(shared, Handle::none);
        closeHandle(shared);
        closeStream(stream);
    });
}

TEST_F(FileCases, ADirectoryIsNotOpenedAsAFile) {
    onMachine([&] {
        EXPECT_FAILS(createFile(scratch, accessRead, shareRead, openExistingFile, 0) != Handle::none,
                     errorAccessDenied);
        EXPECT_FAILS(openStream(scratch, "a+") != nullptr, errorAccessDenied);
    });
}

}  // namespace
