#include "endtoend.h"

// Names with characters outside of every 8-bit code page. The command, paths and environment have them
// unchanged; the log and the property files have \uXXXX.
namespace {

using endtoend::contains;
using endtoend::EndToEnd;
using endtoend::fatalStatus;
using endtoend::forward;
namespace fs = std::filesystem;

class Names : public EndToEnd {};

TEST_F(Names, UserNameAndArguments) {
    userName = L"\u0410\u043d\u043d\u0430";
    EXPECT_EQ(launch({L"\u65e5\u672c"}), 0U) << log();
    EXPECT_TRUE(hasArgument(L"\u65e5\u672c"));
    EXPECT_EQ(argumentAfter(L"-data"), workspaceArgument());
    EXPECT_TRUE(contains(log(), "\\u65e5\\u672c"));
    EXPECT_TRUE(contains(read(workspace() / L".config" / L"args.properties"), "arg1=\\u65e5\\u672c\n"));
    stopPlatform();
    EXPECT_EQ(launch(), 0U) << log();
}

TEST_F(Names, UserHome) {
    userHome = root / L"\u03a7\u03c1\u03ae\u03c3\u03c4\u03b7\u03c2";
    EXPECT_EQ(launch(), 0U) << log() << tempLog();
    EXPECT_EQ(argumentAfter(L"-configuration"), workspaceArgument() + L"/.config");
}

TEST_F(Names, InstallDirectory) {
    install = root / L"framework" / L"\u0394";
    base = install / L"zel" / L"eclipse" / L"plugins" / L"base_1.0";
    EXPECT_EQ(launch(), 0U) << log() << tempLog();
    EXPECT_TRUE(platformCommand().starts_with(L"\"" + forward(base) + L"\\win32\\x86_64\\eclipse.exe\""));
}

TEST_F(Names, WorkspaceAfterData) {
    const fs::path other = root / L"\u4f5c\u696d";
    EXPECT_EQ(launch({L"-data", other.wstring()}), 0U);
    EXPECT_EQ(platformArguments(other).at(3), other.wstring());
    stopPlatform(other);
}

TEST_F(Names, EscapedJvmLocation) {
    setProperty("jvm.location", "${zel.home}/\\u65e5/bin/javaw.exe");
    EXPECT_EQ(launch(), 0U) << log();
    EXPECT_EQ(argumentAfter(L"-vm"), forward(install) + L"/\u65e5/bin/javaw.exe");
    EXPECT_TRUE(contains(read(workspace() / L".config" / L"zelinstall.properties"),
                         "\nvm=${zel.home}/\\u65e5/bin/javaw.exe\n"));
}

TEST_F(Names, TempDirectory) {
    const fs::path temp = root / L"\u0432\u0440\u0435\u043c\u044f";
    fs::create_directories(temp);
    environment[L"TEMP"] = temp.wstring();
    EXPECT_EQ(launch({L"-maxargcnt", L"9"}), fatalStatus);
    EXPECT_TRUE(contains(read(temp / L"zellauncher.log"), "\nZLNCH0069E: "));
}

}  // namespace
