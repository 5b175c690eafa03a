#include "endtoend.h"

namespace {

using endtoend::contains;
using endtoend::EndToEnd;
using endtoend::fatalStatus;
namespace fs = std::filesystem;

class Refusals : public EndToEnd {};

TEST_F(Refusals, ArgumentsThatAreNotAllowed) {
    EXPECT_EQ(launch({L"-maxargcnt", L"9"}), fatalStatus);
    EXPECT_TRUE(contains(tempLog(), "\nZLNCH0069E: "));
    EXPECT_EQ(launch({L"a\"b"}), fatalStatus);
    EXPECT_TRUE(contains(tempLog(), "\nZLNCH0089E: "));
    EXPECT_EQ(launch({L"-Djava.home=x"}), fatalStatus);
    EXPECT_TRUE(contains(tempLog(), "\nZLNCH0192E: "));
    EXPECT_EQ(launch({L"-maxargcnt", L"3"}), 0U);
    EXPECT_FALSE(fs::exists(root / L"temp" / L"zellauncher.log"));
}

TEST_F(Refusals, AMissingPropertyFile) {
    layOut();
    fs::remove(home / L"zel" / L"zellauncher.properties");
    EXPECT_EQ(launch(), fatalStatus);
    EXPECT_TRUE(contains(tempLog(), "\\zel\\zellauncher.properties file!\n"));
}

TEST_F(Refusals, ALauncherOutsideItsDirectory) {
    layOut();
    fs::create_directories(home / L"bin");
    fs::copy_file(home / L"zel" / L"zellauncher.exe", home / L"bin" / L"zellauncher.exe");
    EXPECT_EQ(launchFrom(home / L"bin" / L"zellauncher.exe"), fatalStatus);
    EXPECT_TRUE(contains(tempLog(), "ZLNCH0049E: Unable to locate the platform's installation directory\n"));
}

TEST_F(Refusals, AnInstallOutsideAFrameworkDirectoryEndsAsAMemoryFaultWithItsLog) {
    home = root / L"frame" / L"Client";
    base = home / L"zel" / L"eclipse" / L"plugins" / L"base_1.0";
    EXPECT_EQ(launch(), 0xC0000005U);
    EXPECT_TRUE(contains(log(), "ZELLauncher> no framework directory in the install path \""));
    EXPECT_FALSE(fs::exists(workspace() / L".zel.main"));
}

TEST_F(Refusals, NoPlatformProgram) {
    layOut();
    fs::remove(base / L"win32" / L"x86_64" / L"eclipse.exe");
    EXPECT_EQ(launch(), fatalStatus);
    EXPECT_TRUE(contains(log(), "ZLNCH0007E: "));
}

TEST_F(Refusals, APlatformThatIsNoProgram) {
    layOut();
    write(base / L"win32" / L"x86_64" / L"eclipse.exe", "this is no program");
    EXPECT_EQ(launch(), fatalStatus);
    EXPECT_TRUE(contains(log(), "CreateProcessW failed with error 193: "));
    EXPECT_TRUE(contains(log(), "ZLNCH0306I: lock file released @ "));
    EXPECT_FALSE(fs::exists(workspace() / L".zel.main"));
    fs::remove(base / L"win32" / L"x86_64" / L"eclipse.exe");
    layOut();
    EXPECT_EQ(launch(), 0U) << log();
}

TEST_F(Refusals, ACommandThatIsTooLong) {
    std::vector<std::wstring> words(20, std::wstring(1600, L'x'));
    baseLines.push_back("-Dlong=" + std::string(900, 'y'));
    EXPECT_EQ(launch(words), fatalStatus);
    EXPECT_TRUE(contains(
        log(), "ZELLauncher> the command is longer than the 32766 characters that the system can start\n"));
}

TEST_F(Refusals, AWorkspaceThatCannotBeMade) {
    layOut();
    write(userHome / L"Mivel", "in the way");
    EXPECT_EQ(launch(), fatalStatus);
    EXPECT_TRUE(contains(tempLog(), "ZLNCH0083E: Unable to create "));
}

TEST_F(Refusals, APropertyFileOfAnyBytes) {
    layOut();
    std::string bytes;
    for (int i = 0; i < 100000; ++i) {
        bytes += static_cast<char>((i * 7919) >> 3);
    }
    write(home / L"zel" / L"zellauncher.properties", bytes);
    EXPECT_EQ(launch(), fatalStatus);
    EXPECT_TRUE(contains(tempLog(), "ZLNCH0016E: "));
}

}  // namespace
