#include "contract/contract.h"

namespace {

using contract::found;
using contract::isWine;
using contract::read;
using contract::write;
using namespace platform;

// How a path is read: its names, its separators, its length, and what it is in full.
class Paths : public contract::Contract {};

TEST_F(Paths, NamesHaveNoCaseAndPathsMixTheirSeparators) {
    onMachine([&] {
        EXPECT_TRUE(createDirectory(in(L"Dir")));
        write(in(L"Dir\\File"), "x");
        EXPECT_TRUE(fileAttributes(in(L"dIR/fILE")));
        EXPECT_TRUE(fileAttributes(in(L"Dir/\\File")));
        EXPECT_TRUE(fileAttributes(in(L"Dir\\..\\Dir\\.\\File")));
        EXPECT_EQ(found(in(L"dir\\f*")), (std::vector<std::wstring>{L"File"}));
    });
}

TEST_F(Paths, NamesOutsideLatin1) {
    onMachine([&] {
        write(in(L"\u0410\u65e5.txt"), "x");
        EXPECT_TRUE(fileAttributes(in(L"\u0430\u65e5.TXT")));
        EXPECT_EQ(found(in(L"*.txt")), (std::vector<std::wstring>{L"\u0410\u65e5.txt"}));
    });
}

TEST_F(Paths, WhatIsMissingIsToldApart) {
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

TEST_F(Paths, ANameWithInvalidCharactersIsRefused) {
    onMachine([&] {
        for (const wchar_t* name : {L"a*", L"a?", L"a<", L"a>", L"a|", L"a\""}) {
            EXPECT_FAILS(fileAttributes(in(name)), errorInvalidName);
            EXPECT_FAILS(createDirectory(in(name)), errorInvalidName);
            EXPECT_FAILS(openStream(in(name), "w") != nullptr, errorInvalidName);
        }
    });
}

TEST_F(Paths, ADriveThatIsNotThere) {
    // Wine does not tell a missing drive from a missing file.
    const ErrorCode missing = isWine() ? errorFileNotFound : errorPathNotFound;
    onMachine([&] {
        EXPECT_FAILS(fileAttributes(L"Q:\\x"), missing);
        EXPECT_FAILS(createDirectory(L"Q:\\x"), missing);
        EXPECT_FAILS(openStream(L"Q:\\x", "w") != nullptr, missing);
        EXPECT_EQ(fullPathName(L"Q:\\a\\..\\b", 260), L"Q:\\b");
    });
}

TEST_F(Paths, ASeparatorBehindAName) {
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

TEST_F(Paths, AFileIsNotMadeWithASeparatorAtItsEnd) {
    onMachine([&] {
        EXPECT_EQ(openStream(in(L"f\\"), "w"), nullptr);
        EXPECT_EQ(createFile(in(L"f\\"), accessWrite, 0, openFileAlways, attributeNormal), Handle::none);
        EXPECT_FALSE(fileAttributes(in(L"f")));
    });
}

TEST_F(Paths, DotsAndBlanksAtTheEndOfANameAreDropped) {
    onMachine([&] {
        EXPECT_TRUE(createDirectory(in(L"d. .")));
        EXPECT_TRUE(fileAttributes(in(L"d")));
        EXPECT_TRUE(fileAttributes(in(L"d...")));
    });
}

TEST_F(Paths, ANameHasAtMost255Characters) {
    onMachine([&] {
        EXPECT_TRUE(createDirectory(L"\\\\?\\" + in(std::wstring(255, L'd'))));
        EXPECT_FALSE(createDirectory(L"\\\\?\\" + in(std::wstring(256, L'd'))));
    });
}

TEST_F(Paths, APlainPathOfADirectoryIsShorterThan248Characters) {
    onMachine([&] {
        const std::size_t room = 247 - scratch.size() - 1;
        EXPECT_TRUE(createDirectory(in(std::wstring(room, L'd'))));
        if (!isWine()) {  // Wine has no limit for plain paths
            EXPECT_FAILS(createDirectory(in(std::wstring(room + 1, L'd'))), errorFileNameTooLong);
        }
    });
}

TEST_F(Paths, APlainPathOfAFileIsShorterThan260Characters) {
    onMachine([&] {
        const std::size_t room = 259 - scratch.size() - 1;
        write(in(std::wstring(room, L'f')), "x");
        EXPECT_EQ(read(in(std::wstring(room, L'f'))), "x");
        if (!isWine()) {  // Wine has no limit for plain paths
            EXPECT_FAILS(openStream(in(std::wstring(room + 1, L'f')), "w") != nullptr, errorPathNotFound);
        }
    });
}

TEST_F(Paths, TheLongFormIsTakenLiterally) {
    onMachine([&] {
        EXPECT_TRUE(createDirectory(L"\\\\?\\" + in(L"d")));
        write(in(L"d\\f"), "x");
        EXPECT_TRUE(fileAttributes(L"\\\\?\\" + in(L"d\\f")));
        EXPECT_FALSE(fileAttributes(L"\\\\?\\" + in(L"d/f")));
        EXPECT_FALSE(fileAttributes(L"\\\\?\\" + in(L"d\\..\\d\\f")));
    });
}

TEST_F(Paths, TheLongFormKeepsDotsAtTheEndOfAName) {
    onMachine([&] {
        EXPECT_TRUE(createDirectory(L"\\\\?\\" + in(L"d.")));
        EXPECT_TRUE(fileAttributes(L"\\\\?\\" + in(L"d.")));
        EXPECT_FALSE(fileAttributes(in(L"d")));
    });
}

TEST_F(Paths, TheLongFormHasNoLimitOf260Characters) {
    onMachine([&] {
        std::wstring path = L"\\\\?\\" + scratch;
        for (int level = 0; level < 6; ++level) {
            path += L"\\" + std::wstring(100, L'd');
            EXPECT_TRUE(createDirectory(path));
        }
        EXPECT_TRUE(fileAttributes(path));
        if (!isWine()) {  // Wine has no limit for plain paths
            EXPECT_FALSE(fileAttributes(path.substr(4)));
        }
    });
}

TEST_F(Paths, ALongFileIsReadAndWrittenInTheLongForm) {
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

TEST_F(Paths, AFullPathIsNormalised) {
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

TEST_F(Paths, AFullPathOfAShareStaysWithinIt) {
    onMachine([&] {
        EXPECT_EQ(fullPathName(L"//server/share/a", 260), L"\\\\server\\share\\a");
        EXPECT_EQ(fullPathName(L"\\\\server\\share\\a\\..\\b", 260), L"\\\\server\\share\\b");
    });
}

TEST_F(Paths, ANameBehindADriveAloneIsInItsCurrentDirectory) {
    onMachine([&] {
        const std::wstring here = fullPathName(L".", 1000).value_or(L"");
        const std::wstring drive = here.substr(0, 2);
        EXPECT_EQ(fullPathName(drive + L"x", 1000), fullPathName(L"x", 1000));
    });
}

TEST_F(Paths, AFullPathHasToFitWithItsEnd) {
    onMachine([&] {
        EXPECT_TRUE(fullPathName(L"C:\\abc", 7));
        EXPECT_FALSE(fullPathName(L"C:\\abc", 6));
        EXPECT_FALSE(fullPathName(L"", 260));
        EXPECT_TRUE(fullPathName(L"C:\\" + std::wstring(256, L'a'), 260));
        EXPECT_FALSE(fullPathName(L"C:\\" + std::wstring(257, L'a'), 260));
    });
}

}  // namespace
