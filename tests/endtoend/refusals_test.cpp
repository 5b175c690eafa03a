#include "endtoend.h"

namespace {

using endtoend::contains;
using endtoend::EndToEnd;
using endtoend::fatalStatus;
namespace fs = std::filesystem;

class Refusals : public EndToEnd {};

TEST_F(Refusals, ArgumentsThatAreNotAllowed) {
    const std::vector<std::pair<std::vector<std::wstring>, std::string>> refused = {
        {{L"-maxargcnt", L"9"}, "\nZLNCH0069E: "},
        {{L"a\"b"}, "\nZLNCH0089E: "},
        {{L"-Djvm.library.path=x"}, "\nZLNCH0190E: "},
        {{L"-Djava.library.path=x"}, "\nZLNCH0191E: "},
        {{L"first", L"-Djava.home=x"}, "\nZLNCH0192E: "}};
    for (const auto& [words, message] : refused) {
        EXPECT_EQ(launch(words), fatalStatus);
        EXPECT_TRUE(contains(tempLog(), message)) << message;
    }
    EXPECT_FALSE(fs::exists(workspace() / L".zel.lock"));
}

TEST_F(Refusals, ARefusedStartLeavesNoLogBehindTheNextGoodOne) {
    EXPECT_EQ(launch({L"-maxargcnt", L"2"}), fatalStatus);
    EXPECT_TRUE(fs::exists(root / L"temp" / L"zellauncher.log"));
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
    EXPECT_TRUE(log().ends_with("ZELLauncher> no framework directory in the install path \"" + home.string() +
                                "\"\n"));
    EXPECT_FALSE(fs::exists(workspace() / L".zel.main"));
    EXPECT_TRUE(isLockFree());
}

TEST_F(Refusals, NoPlatformProgram) {
    layOut();
    fs::remove(base / L"win32" / L"x86_64" / L"eclipse.exe");
    EXPECT_EQ(launch(), fatalStatus);
    EXPECT_TRUE(contains(log(), "ZLNCH0007E: "));
    EXPECT_TRUE(isLockFree());
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
    EXPECT_TRUE(contains(log(), "ZLNCH0306I: lock file released @ "));
    EXPECT_FALSE(fs::exists(workspace() / L".zel.main"));
    EXPECT_TRUE(isLockFree());
}

TEST_F(Refusals, AWorkspaceThatCannotBeMade) {
    layOut();
    write(userHome / L"Mivel", "in the way");
    EXPECT_EQ(launch(), fatalStatus);
    EXPECT_TRUE(contains(tempLog(), "ZLNCH0083E: Unable to create "));
}

TEST_F(Refusals, ATemplateThatIsMissing) {
    layOut();
    fs::remove(base / L"zelinstall.properties");
    EXPECT_EQ(launch(), fatalStatus);
    EXPECT_TRUE(log().ends_with("ZLNCH0022E: Unable to copy zelinstall.properties to the user directory.\n"));
}

TEST_F(Refusals, JvmPropertiesThatAreMissing) {
    layOut();
    fs::remove(home / L"zel" / L"deploy" / L"jvm.properties");
    EXPECT_EQ(launch(), fatalStatus);
    EXPECT_TRUE(log().ends_with("ZLNCH0096E: Unable to load " + home.generic_string() +
                                "/zel/deploy/jvm.properties file!\n"));
}

// The log then opens where everybody can write.
TEST_F(Refusals, ALogThatCannotBeOpened) {
    layOut();
    fs::create_directories(workspace() / L"logs" / L"zellauncher.log");
    EXPECT_EQ(launch(), fatalStatus);
    EXPECT_TRUE(contains(tempLog(), "ZLNCH0019E: Could not open "));
    EXPECT_TRUE(isLockFree());
}

TEST_F(Refusals, AUserWithoutANameOrAHome) {
    missingVariables = {L"USERNAME"};
    EXPECT_EQ(launch(), fatalStatus);
    EXPECT_TRUE(tempLog().ends_with("\nZLNCH0037E: Couldn't find the user name!\n\n"));
    missingVariables = {L"HOMEPATH", L"USERPROFILE"};
    EXPECT_EQ(launch(), fatalStatus);
    EXPECT_TRUE(tempLog().ends_with("\nZLNCH0082E: Unable to determine user's home directory\n\n"));
}

TEST_F(Refusals, AHomeOfAnyLength) {
    environment[L"HOMEPATH"] = L"\\" + std::wstring(20000, L'h');
    EXPECT_EQ(launch(), fatalStatus);
    EXPECT_TRUE(contains(tempLog(), "\nZLNCH0083E: Unable to create "));
}

TEST_F(Refusals, WithoutAPlaceForTheLogTheStatusAloneTells) {
    missingVariables = {L"TEMP"};
    EXPECT_EQ(launch({L"-version"}), fatalStatus);
}

TEST_F(Refusals, APropertyFileOfAnyBytes) {
    layOut();
    const fs::path properties = home / L"zel" / L"zellauncher.properties";
    std::string bytes;
    for (int i = 0; i < 100000; ++i) {
        bytes += static_cast<char>((i * 7919) >> 3);
    }
    std::string twoByteUnits = "\xFF\xFE";
    for (const char letter : read(properties)) {
        twoByteUnits += letter;
        twoByteUnits += '\0';
    }
    for (const std::string& content : {bytes, twoByteUnits, std::string(), std::string(5000, '\0')}) {
        write(properties, content);
        EXPECT_EQ(launch(), fatalStatus);
        EXPECT_TRUE(contains(tempLog(), "ZLNCH0016E: "));
    }
    fs::remove(properties);
    fs::create_directory(properties);
    EXPECT_EQ(launch(), fatalStatus);
    EXPECT_TRUE(contains(tempLog(), "ZLNCH0096E: Unable to load "));
}

// The arguments stand in the restart state, whose properties must all be known.
TEST_F(Refusals, AnArgumentWithAnUnknownToken) {
    EXPECT_EQ(launch({L"${unknown}"}), fatalStatus);
    EXPECT_TRUE(log().ends_with("ZLNCH0088E: property substitution is invalid (${unknown})\n"));
    EXPECT_TRUE(isLockFree());
}

}  // namespace
