#include "endtoend.h"
#include "held_files.h"

namespace {

using endtoend::Arguments;
using endtoend::contains;
using endtoend::EndToEnd;
using endtoend::fatalStatus;
namespace fs = std::filesystem;

class Refusals : public EndToEnd {};

TEST_F(Refusals, ForbiddenArgumentsAreFatal) {
    const std::vector<std::pair<Arguments, std::string>> refused = {
        {{L"-maxargcnt", L"9"}, "\nZLNCH0069E: "},
        {{L"a\"b"}, "\nZLNCH0089E: "},
        {{L"-Djvm.library.path=x"}, "\nZLNCH0190E: "},
        {{L"-Djava.library.path=x"}, "\nZLNCH0191E: "},
        {{L"first", L"-Djava.home=x"}, "\nZLNCH0192E: "}};
    for (const auto& [arguments, message] : refused) {
        EXPECT_EQ(launch(arguments), fatalStatus) << message;
        EXPECT_TRUE(contains(tempLog(), message)) << message;
    }
    EXPECT_FALSE(fs::exists(workspace() / L".zel.lock"));
}

TEST_F(Refusals, NextGoodStartDeletesTheTempLog) {
    EXPECT_EQ(launch({L"-maxargcnt", L"2"}), fatalStatus);
    EXPECT_TRUE(fs::exists(root / L"temp" / L"zellauncher.log"));
    EXPECT_EQ(launch({L"-maxargcnt", L"3"}), 0U);
    EXPECT_FALSE(fs::exists(root / L"temp" / L"zellauncher.log"));
}

TEST_F(Refusals, MissingLauncherPropertiesAreFatal) {
    layOut();
    endtoend::removeAll(install / L"zel" / L"zellauncher.properties");
    EXPECT_EQ(launch(), fatalStatus);
    EXPECT_TRUE(contains(tempLog(), "\\zel\\zellauncher.properties file!\n"));
}

TEST_F(Refusals, LauncherOutsideZelIsFatal) {
    layOut();
    fs::create_directories(install / L"bin");
    fs::copy_file(launcherPath(), install / L"bin" / launcherName);
    EXPECT_EQ(launchFrom(install / L"bin" / launcherName), fatalStatus);
    EXPECT_TRUE(contains(tempLog(), "ZLNCH0049E: Unable to locate the platform's installation directory\n"));
}

TEST_F(Refusals, InstallOutsideFrameworkIsAnAccessViolation) {
    install = root / L"frame" / L"Client";
    base = install / L"zel" / L"eclipse" / L"plugins" / L"base_1.0";
    EXPECT_EQ(launch(), 0xC0000005U);
    EXPECT_TRUE(log().ends_with("ZELLauncher> no framework directory in the install path \"" +
                                install.string() + "\"\n"));
    EXPECT_FALSE(fs::exists(workspace() / L".zel.main"));
    EXPECT_TRUE(isLockFree());
}

TEST_F(Refusals, MissingPlatformProgramIsFatal) {
    layOut();
    endtoend::removeAll(base / L"win32" / L"x86_64" / L"eclipse.exe");
    EXPECT_EQ(launch(), fatalStatus);
    EXPECT_TRUE(contains(log(), "ZLNCH0007E: "));
    EXPECT_TRUE(isLockFree());
}

TEST_F(Refusals, InvalidPlatformProgramIsFatal) {
    layOut();
    write(base / L"win32" / L"x86_64" / L"eclipse.exe", "not a program");
    EXPECT_EQ(launch(), fatalStatus);
    EXPECT_TRUE(contains(log(), "CreateProcessW failed with error 193: "));
    EXPECT_TRUE(contains(log(), "ZLNCH0306I: lock file released @ "));
    EXPECT_FALSE(fs::exists(workspace() / L".zel.main"));
    endtoend::removeAll(base / L"win32" / L"x86_64" / L"eclipse.exe");
    layOut();
    EXPECT_EQ(launch(), 0U) << log();
}

TEST_F(Refusals, TooLongCommandIsFatal) {
    const Arguments arguments(20, std::wstring(1600, L'x'));
    baseLines.push_back("-Dlong=" + std::string(900, 'y'));
    EXPECT_EQ(launch(arguments), fatalStatus);
    EXPECT_TRUE(contains(
        log(), "ZELLauncher> the command is longer than the 32766 characters that the system can start\n"));
    EXPECT_TRUE(contains(log(), "ZLNCH0306I: lock file released @ "));
    EXPECT_FALSE(fs::exists(workspace() / L".zel.main"));
    EXPECT_TRUE(isLockFree());
}

TEST_F(Refusals, WorkspaceThatCannotBeCreatedIsFatal) {
    layOut();
    write(userHome / L"Mivel", "in the way");
    EXPECT_EQ(launch(), fatalStatus);
    EXPECT_TRUE(contains(tempLog(), "ZLNCH0083E: Unable to create "));
}

TEST_F(Refusals, MissingTemplateIsFatal) {
    layOut();
    endtoend::removeAll(base / L"zelinstall.properties");
    EXPECT_EQ(launch(), fatalStatus);
    EXPECT_TRUE(log().ends_with("ZLNCH0022E: Unable to copy zelinstall.properties to the user directory.\n"));
}

TEST_F(Refusals, MissingJvmPropertiesAreFatal) {
    layOut();
    endtoend::removeAll(install / L"zel" / L"deploy" / L"jvm.properties");
    EXPECT_EQ(launch(), fatalStatus);
    EXPECT_TRUE(log().ends_with("ZLNCH0096E: Unable to load " + install.generic_string() +
                                "/zel/deploy/jvm.properties file!\n"));
}

// The message goes to the log in TEMP.
TEST_F(Refusals, LogThatCannotBeOpenedIsFatal) {
    layOut();
    fs::create_directories(workspace() / L"logs" / L"zellauncher.log");
    EXPECT_EQ(launch(), fatalStatus);
    EXPECT_TRUE(contains(tempLog(), "ZLNCH0019E: Could not open "));
    EXPECT_TRUE(isLockFree());
}

TEST_F(Refusals, MissingUserNameOrHomeIsFatal) {
    missingVariables = {L"USERNAME"};
    EXPECT_EQ(launch(), fatalStatus);
    EXPECT_TRUE(tempLog().ends_with("\nZLNCH0037E: Couldn't find the user name!\n\n"));
    missingVariables = {L"HOMEPATH", L"USERPROFILE"};
    EXPECT_EQ(launch(), fatalStatus);
    EXPECT_TRUE(tempLog().ends_with("\nZLNCH0082E: Unable to determine user's home directory\n\n"));
}

TEST_F(Refusals, VeryLongUserHomeIsFatal) {
    environment[L"HOMEPATH"] = L"\\" + std::wstring(20000, L'h');
    EXPECT_EQ(launch(), fatalStatus);
    EXPECT_TRUE(contains(tempLog(), "\nZLNCH0083E: Unable to create "));
}

TEST_F(Refusals, VersionWithoutTempEndsWithTheFatalStatus) {
    missingVariables = {L"TEMP"};
    hasLog = false;
    EXPECT_EQ(launch({L"-version"}), fatalStatus);
}

TEST_F(Refusals, DamagedLauncherPropertiesAreFatal) {
    layOut();
    const fs::path properties = install / L"zel" / L"zellauncher.properties";
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
    endtoend::removeAll(properties);
    fs::create_directory(properties);
    EXPECT_EQ(launch(), fatalStatus);
    EXPECT_TRUE(contains(tempLog(), "ZLNCH0096E: Unable to load "));
}

// The arguments become properties of the restart state, and their tokens are replaced there.
TEST_F(Refusals, ArgumentWithAnUnknownTokenIsFatal) {
    EXPECT_EQ(launch({L"${unknown}"}), fatalStatus);
    EXPECT_TRUE(log().ends_with("ZLNCH0088E: property substitution is invalid (${unknown})\n"));
    EXPECT_TRUE(isLockFree());
}

}  // namespace
