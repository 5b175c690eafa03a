#include "foundation/file_queries.h"

#include "platform/files.h"
#include "support/launcher_fixture.h"
#include "support/text.h"

namespace {

using zellauncher::directoryExists;
using zellauncher::fileExists;
using zellauncher::isExecutableFile;

class FileQueries : public launchertest::OnMachine {};

TEST_F(FileQueries, FilesAndDirectoriesExist) {
    machine.writeFile(L"C:\\data\\a.txt", "");
    run([] {
        EXPECT_TRUE(fileExists(L"C:\\data\\a.txt"));
        EXPECT_TRUE(fileExists(L"C:\\data"));
        EXPECT_TRUE(fileExists(L"C:\\"));
        EXPECT_FALSE(fileExists(L"C:\\data\\b.txt"));
        EXPECT_FALSE(fileExists(L"C:\\gone\\a.txt"));
        EXPECT_FALSE(fileExists(L"Q:\\"));
        EXPECT_FALSE(fileExists(L""));
    });
}

TEST_F(FileQueries, DirectoryExistsIsFalseForFiles) {
    machine.writeFile(L"C:\\data\\a.txt", "");
    machine.setAttributes(L"C:\\data", platform::attributeReadOnly | platform::attributeHidden);
    run([] {
        EXPECT_TRUE(directoryExists(L"C:\\data"));
        EXPECT_TRUE(directoryExists(L"C:\\data\\"));
        EXPECT_FALSE(directoryExists(L"C:\\data\\a.txt"));
        EXPECT_FALSE(directoryExists(L"C:\\gone"));
        EXPECT_FALSE(directoryExists(L""));
    });
}

TEST_F(FileQueries, SeparatorsAndCaseDoNotMatter) {
    machine.writeFile(L"C:\\Data\\sub\\a.txt", "");
    run([] {
        EXPECT_TRUE(fileExists(L"c:/data\\SUB/A.txt"));
        EXPECT_TRUE(directoryExists(L"C:/Data/sub/"));
    });
}

TEST_F(FileQueries, LongPathPrefixIsSkipped) {
    machine.writeFile(L"C:\\data\\run.exe", "");
    const auto outcome = run([] {
        EXPECT_TRUE(fileExists(L"\\\\?\\C:\\data\\run.exe"));
        EXPECT_TRUE(directoryExists(L"\\\\?\\C:/data"));
        EXPECT_TRUE(isExecutableFile(L"\\\\?\\C:\\data\\run.exe"));
    });
    EXPECT_EQ(outcome.processEnd().status, 0U);
    EXPECT_EQ(machine.operations().back().argument, L"C:\\data\\run.exe");
}

TEST_F(FileQueries, PathBeyond260CharactersDoesNotExist) {
    const std::wstring directory = L"C:\\" + std::wstring(200, L'd') + L"\\" + std::wstring(100, L'e');
    machine.makeDirectory(directory);
    run([&] {
        EXPECT_FALSE(fileExists(directory));
        EXPECT_FALSE(fileExists(L"\\\\?\\" + directory));
        EXPECT_FALSE(directoryExists(L"\\\\?\\" + directory));
    });
}

TEST_F(FileQueries, ProgramEndingsMakeAFileExecutable) {
    for (const std::wstring name : {L"a.exe", L"a.com", L"a.bat", L"a.cmd", L"A.EXE", L"b.Cmd", L".exe"}) {
        machine.writeFile(L"C:\\bin\\" + name, "");
        run([&] { EXPECT_TRUE(isExecutableFile(L"C:\\bin\\" + name)) << launchertest::toUtf8(name); });
    }
}

TEST_F(FileQueries, OtherEndingsAreNotExecutable) {
    for (const std::wstring name : {L"a.dll", L"exe", L"a.exe.bak", L"axexe", L"x", L"a.ex", L"a.[xe"}) {
        machine.writeFile(L"C:\\bin\\" + name, "");
        run([&] { EXPECT_FALSE(isExecutableFile(L"C:\\bin\\" + name)) << launchertest::toUtf8(name); });
    }
}

TEST_F(FileQueries, PathShorterThanAnEndingIsNotExecutable) {
    machine.writeFile(L"C:\\x", "");
    run([] {
        EXPECT_TRUE(fileExists(L"x"));
        EXPECT_FALSE(isExecutableFile(L"x"));
    });
}

TEST_F(FileQueries, PathMayBeAnEndingAlone) {
    machine.writeFile(L"C:\\.exe", "");
    run([] { EXPECT_TRUE(isExecutableFile(L".exe")); });
}

TEST_F(FileQueries, DirectoryIsExecutableButAMissingFileIsNot) {
    machine.makeDirectory(L"C:\\bin");
    run([] {
        EXPECT_TRUE(isExecutableFile(L"C:\\bin"));
        EXPECT_FALSE(isExecutableFile(L"C:\\bin\\gone.exe"));
        EXPECT_FALSE(isExecutableFile(L""));
    });
}

}  // namespace
