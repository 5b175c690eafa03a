#include "endtoend.h"

// Names that an 8-bit text cannot hold. The command, the paths on the disk and the environment carry
// them as they are; the log and the property files show them as \uXXXX.
namespace {

using endtoend::contains;
using endtoend::EndToEnd;
using endtoend::fatalStatus;
using endtoend::forward;
namespace fs = std::filesystem;

class Names : public EndToEnd {};

TEST_F(Names, OfTheUserAndInTheArguments) {
    userName = L"\u0410\u043d\u043d\u0430";
    EXPECT_EQ(launch({L"\u65e5\u672c"}), 0U) << log();
    EXPECT_TRUE(hasWord(L"\u65e5\u672c"));
    EXPECT_EQ(wordBehind(L"-data"), userHome.wstring() + L"/Mivel/ZEL/1234/" + userName);
    EXPECT_TRUE(contains(log(), "\\u65e5\\u672c"));
    EXPECT_TRUE(contains(read(workspace() / L".config" / L"args.properties"), "arg1=\\u65e5\\u672c\n"));
    stopPlatform();
    EXPECT_EQ(launch(), 0U) << log();
}

TEST_F(Names, OfTheUsersHome) {
    userHome = root / L"\u03a7\u03c1\u03ae\u03c3\u03c4\u03b7\u03c2";
    EXPECT_EQ(launch(), 0U) << log() << tempLog();
    EXPECT_EQ(wordBehind(L"-configuration"), userHome.wstring() + L"/Mivel/ZEL/1234/ann/.config");
}

TEST_F(Names, OfTheInstall) {
    home = root / L"framework" / L"\u0394";
    base = home / L"zel" / L"eclipse" / L"plugins" / L"base_1.0";
    EXPECT_EQ(launch(), 0U) << log() << tempLog();
    EXPECT_TRUE(platformCommand().starts_with(L"\"" + forward(base) + L"\\win32\\x86_64\\eclipse.exe\""));
}

TEST_F(Names, OfTheWorkspaceOfTheCommandLine) {
    const fs::path other = root / L"\u4f5c\u696d";
    EXPECT_EQ(launch({L"-data", other.wstring()}), 0U);
    EXPECT_EQ(platformWords(other).at(3), other.wstring());
    stopPlatform(other);
}

TEST_F(Names, OfTheJvmAsAnEscape) {
    setProperty("jvm.location", "${zel.home}/\\u65e5/bin/javaw.exe");
    EXPECT_EQ(launch(), 0U) << log();
    EXPECT_EQ(wordBehind(L"-vm"), forward(home) + L"/\u65e5/bin/javaw.exe");
    EXPECT_TRUE(contains(read(workspace() / L".config" / L"zelinstall.properties"),
                         "\nvm=${zel.home}/\\u65e5/bin/javaw.exe\n"));
}

TEST_F(Names, OfTheDirectoryOfAnEarlyLog) {
    const fs::path temp = root / L"\u0432\u0440\u0435\u043c\u044f";
    fs::create_directories(temp);
    environment[L"TEMP"] = temp.wstring();
    EXPECT_EQ(launch({L"-maxargcnt", L"9"}), fatalStatus);
    EXPECT_TRUE(contains(read(temp / L"zellauncher.log"), "\nZLNCH0069E: "));
}

}  // namespace
