#include <algorithm>

#include "contract/contract.h"

// How paths are interpreted: case, separators, length, and their full form.
namespace contract {
namespace {

using namespace platform;

class Paths : public Contract {
protected:
    // Creates as many nested directories with names of 100 characters, and returns the long form of the
    // innermost one's path.
    std::wstring makeDeepDirectory(int levels) const {
        std::wstring path = longForm(scratch);
        for (int level = 0; level < levels; ++level) {
            path += L"\\" + std::wstring(100, L'd');
            EXPECT_TRUE(createDirectory(path));
        }
        return path;
    }
};

TEST_F(Paths, NamesIgnoreCaseAndSeparatorsMix) {
    onMachine([&] {
        EXPECT_TRUE(createDirectory(in(L"Dir")));
        write(in(L"Dir\\File"), "x");
        EXPECT_TRUE(fileAttributes(in(L"dIR/fILE")));
        EXPECT_TRUE(fileAttributes(in(L"Dir/\\File")));
        EXPECT_TRUE(fileAttributes(in(L"Dir\\..\\Dir\\.\\File")));
        EXPECT_EQ(namesMatching(in(L"dir\\f*")), (std::vector<std::wstring>{L"File"}));
    });
}

TEST_F(Paths, NonLatinNamesIgnoreCase) {
    onMachine([&] {
        write(in(L"\u0410\u65e5.txt"), "x");
        EXPECT_TRUE(fileAttributes(in(L"\u0430\u65e5.TXT")));
        EXPECT_EQ(namesMatching(in(L"*.txt")), (std::vector<std::wstring>{L"\u0410\u65e5.txt"}));
    });
}

TEST_F(Paths, MissingFileDiffersFromMissingDirectory) {
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

TEST_F(Paths, InvalidCharactersAreAnError) {
    onMachine([&] {
        for (const wchar_t* name : {L"a*", L"a?", L"a<", L"a>", L"a|", L"a\""}) {
            EXPECT_FAILS(fileAttributes(in(name)), errorInvalidName);
            EXPECT_FAILS(createDirectory(in(name)), errorInvalidName);
            EXPECT_FAILS(openStream(in(name), "w"), errorInvalidName);
        }
    });
}

TEST_F(Paths, MissingDriveIsPathNotFound) {
    // Wine does not distinguish a missing drive from a missing file.
    const ErrorCode missing = isWine() ? errorFileNotFound : errorPathNotFound;
    onMachine([&] {
        const std::wstring drive = std::wstring(1, missingDrive()) + L":\\";
        EXPECT_FAILS(fileAttributes(drive + L"x"), missing);
        EXPECT_FAILS(createDirectory(drive + L"x"), missing);
        EXPECT_FAILS(openStream(drive + L"x", "w"), missing);
        EXPECT_EQ(fullPathName(drive + L"a\\..\\b", 260), drive + L"b");
    });
}

TEST_F(Paths, TrailingSeparatorNamesOnlyDirectories) {
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

TEST_F(Paths, TrailingSeparatorPreventsCreatingAFile) {
    onMachine([&] {
        EXPECT_EQ(openStream(in(L"f\\"), "w"), nullptr);
        EXPECT_EQ(createFile(in(L"f\\"), accessWrite, 0, openFileAlways, attributeNormal), Handle::none);
        EXPECT_FALSE(fileAttributes(in(L"f")));
    });
}

TEST_F(Paths, TrailingDotsAndBlanksAreDropped) {
    onMachine([&] {
        EXPECT_TRUE(createDirectory(in(L"d. .")));
        EXPECT_TRUE(fileAttributes(in(L"d")));
        EXPECT_TRUE(fileAttributes(in(L"d...")));
    });
}

TEST_F(Paths, NameHasAtMost255Characters) {
    onMachine([&] {
        EXPECT_TRUE(createDirectory(longForm(in(std::wstring(255, L'd')))));
        EXPECT_FALSE(createDirectory(longForm(in(std::wstring(256, L'd')))));
    });
}

TEST_F(Paths, PlainDirectoryPathMayHave247Characters) {
    onMachine([&] { EXPECT_TRUE(createDirectory(in(std::wstring(247 - scratch.size() - 1, L'd')))); });
}

TEST_F(Paths, LongerPlainDirectoryPathIsRefused) {
    SKIP_UNDER_WINE("does not limit plain paths");
    onMachine([&] {
        EXPECT_FAILS(createDirectory(in(std::wstring(248 - scratch.size() - 1, L'd'))), errorFileNameTooLong);
    });
}

TEST_F(Paths, PlainFilePathMayHave259Characters) {
    onMachine([&] {
        const std::wstring path = in(std::wstring(259 - scratch.size() - 1, L'f'));
        write(path, "x");
        EXPECT_EQ(read(path), "x");
    });
}

TEST_F(Paths, LongerPlainFilePathIsNotFound) {
    SKIP_UNDER_WINE("does not limit plain paths");
    onMachine([&] {
        EXPECT_FAILS(openStream(in(std::wstring(260 - scratch.size() - 1, L'f')), "w"), errorPathNotFound);
        EXPECT_FALSE(fileAttributes(makeDeepDirectory(6).substr(4)));
    });
}

TEST_F(Paths, LongFormIsNotNormalised) {
    onMachine([&] {
        EXPECT_TRUE(createDirectory(longForm(in(L"d"))));
        write(in(L"d\\f"), "x");
        EXPECT_TRUE(fileAttributes(longForm(in(L"d\\f"))));
        EXPECT_FALSE(fileAttributes(longForm(in(L"d/f"))));
        EXPECT_FALSE(fileAttributes(longForm(in(L"d\\..\\d\\f"))));
    });
}

TEST_F(Paths, LongFormWithForwardSlashesIsNormalised) {
    onMachine([&] {
        EXPECT_TRUE(createDirectory(in(L"d")));
        write(in(L"d\\f"), "x");
        std::wstring path = longForm(in(L"d\\..\\d\\f"));
        std::replace(path.begin(), path.end(), L'\\', L'/');
        EXPECT_TRUE(fileAttributes(path));
        EXPECT_EQ(read(path), "x");
        EXPECT_EQ(fullPathName(path, 1000), longForm(in(L"d\\f")));
    });
}

TEST_F(Paths, LongFormKeepsTrailingDots) {
    onMachine([&] {
        EXPECT_TRUE(createDirectory(longForm(in(L"d."))));
        EXPECT_TRUE(fileAttributes(longForm(in(L"d."))));
        EXPECT_FALSE(fileAttributes(in(L"d")));
    });
}

TEST_F(Paths, LongFormHasNoLimitOf260Characters) {
    onMachine([&] { EXPECT_TRUE(fileAttributes(makeDeepDirectory(6))); });
}

TEST_F(Paths, FileOperationsTakeLongPaths) {
    onMachine([&] {
        const std::wstring path = makeDeepDirectory(3);
        write(path + L"\\f", "text");
        EXPECT_EQ(read(path + L"\\f"), "text");
        EXPECT_TRUE(copyFile(path + L"\\f", path + L"\\g", ExistingTarget::isFailure));
        EXPECT_TRUE(moveFile(path + L"\\g", path + L"\\h", moveWriteThrough));
        EXPECT_TRUE(deleteFile(path + L"\\f"));
        EXPECT_EQ(read(path + L"\\h"), "text");
    });
}

TEST_F(Paths, FullPathIsNormalised) {
    onMachine([&] {
        EXPECT_EQ(fullPathName(L"C:/a//b/../c/.", 260), L"C:\\a\\c");
        EXPECT_EQ(fullPathName(L"C:\\a\\", 260), L"C:\\a\\");
        EXPECT_EQ(fullPathName(L"C:\\..\\..\\a", 260), L"C:\\a");
        EXPECT_EQ(fullPathName(L"C:\\a.\\b ", 260), L"C:\\a\\b");
        const std::wstring current = fullPathName(L".", 260).value_or(L"");
        EXPECT_EQ(fullPathName(L"x", 260), (current.ends_with(L"\\") ? current : current + L"\\") + L"x");
        EXPECT_EQ(fullPathName(L"\\x", 260), current.substr(0, 2) + L"\\x");
    });
}

// Only administrators can use the share of a drive. Under Wine, cmake/wine-run.sh makes it.
TEST_F(Paths, ShareOfADriveNamesItsFiles) {
    onMachine([&] {
        const std::wstring share = L"\\\\localhost\\" + scratch.substr(0, 1) + L"$" + scratch.substr(2);
        if (!fileAttributes(share)) {
            GTEST_SKIP() << "there is no such share";
        }
        write(share + L"\\f", "text");
        EXPECT_EQ(read(in(L"f")), "text");
        EXPECT_EQ(fullPathName(share + L"\\d\\..\\f", 260), share + L"\\f");
        EXPECT_TRUE(moveFile(share + L"\\f", share + L"\\g", 0)) << lastError();
        EXPECT_FALSE(fileAttributes(in(L"f")));
        EXPECT_TRUE(deleteFile(share + L"\\g")) << lastError();
        EXPECT_FALSE(fileAttributes(in(L"g")));
        EXPECT_FAILS(openStream(share + L"\\f", "r"), errorFileNotFound);
    });
}

TEST_F(Paths, FullPathOfAShareKeepsServerAndShare) {
    onMachine([&] {
        EXPECT_EQ(fullPathName(L"//server/share/a", 260), L"\\\\server\\share\\a");
        EXPECT_EQ(fullPathName(L"\\\\server\\share\\a\\..\\b", 260), L"\\\\server\\share\\b");
    });
}

TEST_F(Paths, DriveRelativePathUsesTheCurrentDirectory) {
    onMachine([&] {
        const std::wstring drive = fullPathName(L".", 1000).value_or(L"").substr(0, 2);
        EXPECT_EQ(fullPathName(drive + L"x", 1000), fullPathName(L"x", 1000));
    });
}

TEST_F(Paths, FullPathMustFitWithItsNul) {
    onMachine([&] {
        EXPECT_TRUE(fullPathName(L"C:\\abc", 7));
        EXPECT_FALSE(fullPathName(L"C:\\abc", 6));
        EXPECT_FALSE(fullPathName(L"", 260));
        EXPECT_TRUE(fullPathName(L"C:\\" + std::wstring(256, L'a'), 260));
        EXPECT_FALSE(fullPathName(L"C:\\" + std::wstring(257, L'a'), 260));
    });
}

}  // namespace
}  // namespace contract
