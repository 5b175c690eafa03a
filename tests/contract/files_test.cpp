#include "platform/files.h"

#include <algorithm>
#include <vector>

#include "contract/contract.h"

namespace {

using contract::read;
using contract::write;
using namespace platform;

class Files : public contract::Contract {
protected:
    // Names that fit the pattern, in the order of the walk.
    std::vector<std::wstring> found(const std::wstring& pattern) const {
        std::vector<std::wstring> names;
        FindEntry entry;
        const FindHandle handle = findFirst(pattern, entry);
        if (handle == FindHandle::none) {
            return names;
        }
        do {
            names.push_back(entry.name);
        } while (findNext(handle, entry));
        EXPECT_EQ(lastError(), errorNoMoreFiles);
        findClose(handle);
        return names;
    }
};

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

TEST_F(Files, NamesHaveNoCaseAndPathsMixTheirSeparators) {
    onMachine([&] {
        EXPECT_TRUE(createDirectory(in(L"Dir")));
        write(in(L"Dir\\File"), "x");
        EXPECT_TRUE(fileAttributes(in(L"dIR/fILE")));
        EXPECT_TRUE(fileAttributes(in(L"Dir/\\File")));
        EXPECT_TRUE(fileAttributes(in(L"Dir\\..\\Dir\\.\\File")));
        EXPECT_EQ(found(in(L"dir\\f*")), (std::vector<std::wstring>{L"File"}));
    });
}

TEST_F(Files, NamesOutsideLatin1) {
    onMachine([&] {
        write(in(L"\u0410\u65e5.txt"), "x");
        EXPECT_TRUE(fileAttributes(in(L"\u0430\u65e5.TXT")));
        EXPECT_EQ(found(in(L"*.txt")), (std::vector<std::wstring>{L"\u0410\u65e5.txt"}));
    });
}

TEST_F(Files, WhatIsMissingIsToldApart) {
    onMachine([&] {
        write(in(L"f"), "");
        EXPECT_FAILS(fileAttributes(in(L"gone")), errorFileNotFound);
        EXPECT_FAILS(fileAttributes(in(L"gone\\x")), errorPathNotFound);
        EXPECT_FAILS(fileAttributes(in(L"f\\x")), errorPathNotFound);
        EXPECT_FAILS(fileAttributes(in(L"a*b")), errorInvalidName);
        EXPECT_FALSE(fileAttributes(L""));
        EXPECT_FALSE(fileAttributes(in(L"f\\")));
    });
}

TEST_F(Files, TheLongFormIsTakenLiterally) {
    onMachine([&] {
        EXPECT_TRUE(createDirectory(L"\\\\?\\" + in(L"d")));
        write(in(L"d\\f"), "x");
        EXPECT_TRUE(fileAttributes(L"\\\\?\\" + in(L"d\\f")));
        EXPECT_FALSE(fileAttributes(L"\\\\?\\" + in(L"d/f")));
        EXPECT_FALSE(fileAttributes(L"\\\\?\\" + in(L"d\\..\\d\\f")));
    });
}

TEST_F(Files, TheLongFormHasNoLimitOf260Characters) {
    onMachine([&] {
        std::wstring path = L"\\\\?\\" + scratch;
        for (int level = 0; level < 6; ++level) {
            path += L"\\" + std::wstring(100, L'd');
            EXPECT_TRUE(createDirectory(path));
        }
        EXPECT_TRUE(fileAttributes(path));
        if (!contract::isWine()) {  // Wine has no limit for plain paths
            EXPECT_FALSE(fileAttributes(path.substr(4)));
        }
    });
}

TEST_F(Files, ANameHasAtMost255Characters) {
    onMachine([&] {
        EXPECT_TRUE(createDirectory(L"\\\\?\\" + in(std::wstring(255, L'd'))));
        EXPECT_FALSE(createDirectory(L"\\\\?\\" + in(std::wstring(256, L'd'))));
    });
}

TEST_F(Files, ADirectoryIsMadeOneLevelAtATime) {
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
        if (!contract::isWine()) {  // Wine takes the volume for a directory that it has made
            EXPECT_FALSE(createDirectory(L"\\\\?\\C:"));
        }
    });
}

TEST_F(Files, ACopyKeepsTheContentAndLeavesATarget) {
    onMachine([&] {
        write(in(L"a"), "text");
        EXPECT_TRUE(copyFile(in(L"a"), in(L"b"), true));
        EXPECT_EQ(read(in(L"b")), "text");
        write(in(L"a"), "other");
        EXPECT_FAILS(copyFile(in(L"a"), in(L"b"), true), errorFileExists);
        EXPECT_EQ(read(in(L"b")), "text");
        EXPECT_TRUE(copyFile(in(L"a"), in(L"b"), false));
        EXPECT_EQ(read(in(L"b")), "other");
    });
}

TEST_F(Files, ACopyNeedsASourceFileAndADirectory) {
    onMachine([&] {
        EXPECT_FAILS(copyFile(in(L"gone"), in(L"b"), true), errorFileNotFound);
        write(in(L"a"), "x");
        EXPECT_FAILS(copyFile(in(L"a"), in(L"gone\\b"), true), errorPathNotFound);
        EXPECT_TRUE(createDirectory(in(L"d")));
        EXPECT_FAILS(copyFile(in(L"d"), in(L"e"), true), errorAccessDenied);
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

TEST_F(Files, AnOpenFileCanNeitherBeDeletedNorMoved) {
    onMachine([&] {
        write(in(L"a"), "x");
        Stream* stream = openStream(in(L"a"), "r");
        EXPECT_FAILS(deleteFile(in(L"a")), errorSharingViolation);
        EXPECT_FAILS(moveFile(in(L"a"), in(L"b"), moveWriteThrough), errorSharingViolation);
        EXPECT_TRUE(copyFile(in(L"a"), in(L"c"), true));
        closeStream(stream);
        EXPECT_TRUE(deleteFile(in(L"a")));
        EXPECT_EQ(read(in(L"a")), "(absent)");
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

TEST_F(Files, OnlyEmptyDirectoriesAreRemoved) {
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

TEST_F(Files, AWalkHasTheDirectoryItselfAndItsParent) {
    onMachine([&] {
        EXPECT_TRUE(createDirectory(in(L"d")));
        EXPECT_EQ(found(in(L"d\\*")), (std::vector<std::wstring>{L".", L".."}));
        write(in(L"d\\b.txt"), "");
        write(in(L"d\\a.jar"), "");
        std::vector<std::wstring> names = found(in(L"d\\*"));
        std::sort(names.begin(), names.end());
        EXPECT_EQ(names, (std::vector<std::wstring>{L".", L"..", L"a.jar", L"b.txt"}));
        EXPECT_EQ(found(in(L"d\\*b*")), (std::vector<std::wstring>{L"b.txt"}));
        EXPECT_EQ(found(in(L"d\\?.JAR")), (std::vector<std::wstring>{L"a.jar"}));
        EXPECT_EQ(found(L"\\\\?\\" + in(L"d\\*.txt")), (std::vector<std::wstring>{L"b.txt"}));
        EXPECT_EQ(found(in(L"d")), (std::vector<std::wstring>{L"d"}));
    });
}

TEST_F(Files, AWalkOverNothingFails) {
    onMachine([&] {
        FindEntry entry;
        EXPECT_EQ(findFirst(in(L"gone\\*"), entry), FindHandle::none);
        EXPECT_EQ(lastError(), errorPathNotFound);
        EXPECT_EQ(findFirst(in(L"*.none"), entry), FindHandle::none);
        EXPECT_EQ(lastError(), errorFileNotFound);
    });
}

TEST_F(Files, AWalkTellsWhichEntriesAreDirectories) {
    onMachine([&] {
        EXPECT_TRUE(createDirectory(in(L"dir.jar")));
        FindEntry entry;
        const FindHandle handle = findFirst(in(L"*.jar"), entry);
        ASSERT_NE(handle, FindHandle::none);
        EXPECT_EQ(entry.name, L"dir.jar");
        EXPECT_NE(entry.attributes & attributeDirectory, 0U);
        EXPECT_FALSE(findNext(handle, entry));
        findClose(handle);
    });
}

TEST_F(Files, AFullPathIsNormalised) {
    onMachine([&] {
        EXPECT_EQ(fullPathName(L"C:/a//b/../c/.", 260), L"C:\\a\\c");
        EXPECT_EQ(fullPathName(L"C:\\a\\", 260), L"C:\\a\\");
        EXPECT_EQ(fullPathName(L"C:\\..\\..\\a", 260), L"C:\\a");
        EXPECT_EQ(fullPathName(L"C:\\a.\\b ", 260), L"C:\\a\\b");
        const std::wstring here = fullPathName(L".", 260).value_or(L"");
        EXPECT_EQ(fullPathName(L"x", 260), (here.ends_with(L"\\") ? here : here + L"\\") + L"x");
        EXPECT_EQ(fullPathName(L"\\x", 260), here.substr(0, 2) + L"\\x");
    });
}

TEST_F(Files, AFullPathHasToFitWithItsEnd) {
    onMachine([&] {
        EXPECT_TRUE(fullPathName(L"C:\\abc", 7));
        EXPECT_FALSE(fullPathName(L"C:\\abc", 6));
        EXPECT_FALSE(fullPathName(L"", 260));
        EXPECT_TRUE(fullPathName(L"C:\\" + std::wstring(256, L'a'), 260));
        EXPECT_FALSE(fullPathName(L"C:\\" + std::wstring(257, L'a'), 260));
    });
}

TEST_F(Files, TheModuleIsThisProgram) {
    onMachine([&] {
        const std::wstring path = moduleFileName(260).value_or(L"");
        EXPECT_TRUE(path.ends_with(L"\\contract.exe"));
        EXPECT_FALSE(moduleFileName(path.size()));
        EXPECT_EQ(moduleFileName(path.size() + 1), path);
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

TEST_F(Files, AFileThatIsNotSharedCannotBeOpenedAgain) {
    onMachine([&] {
        write(in(L"f"), "x");
        const Handle only =
            createFile(in(L"f"), accessRead | accessWrite, 0, openExistingFile, attributeNormal);
        ASSERT_NE(only, Handle::none);
        EXPECT_EQ(openStream(in(L"f"), "r"), nullptr);
        EXPECT_EQ(lastError(), errorSharingViolation);
        EXPECT_TRUE(fileAttributes(in(L"f")));
        closeHandle(only);
        EXPECT_EQ(read(in(L"f")), "x");
    });
}

TEST_F(Files, ClosingNothingIsNoFailure) {
    onMachine([&] { closeHandle(Handle::none); });
}

}  // namespace
