#include <gtest/gtest.h>

#include "scenarios/story.h"
#include "support/operations.h"

namespace {

using scenarios::contains;
using scenarios::endsWith;
using scenarios::Story;

// Starts that end before the platform starts, with the reason as the last line of a log.
class RefusedStart : public Story {
protected:
    void expectTempLogEnds(const std::string& line) {
        EXPECT_TRUE(endsWith(tempLog(), "\n" + line + "\n\n"));
        EXPECT_TRUE(machine.startedProcesses().empty());
    }
    void expectLogEnds(const std::string& line) {
        EXPECT_TRUE(endsWith(log(), "\n" + line + "\n")) << tempLog();
        EXPECT_TRUE(machine.startedProcesses().empty());
    }
};

TEST_F(RefusedStart, VersionQueryIsAnsweredInTheLog) {
    EXPECT_FATAL(launch({L"-version"}));
    EXPECT_EQ(tempLog(), "ZLNCH0031I:   version = \"20250218.1837\"\n\n");
    EXPECT_FALSE(machine.exists(workspace));
}

TEST_F(RefusedStart, VersionWithAnotherArgumentStarts) {
    EXPECT_STARTED(launch({L"-version", L"-x"}));
    EXPECT_TRUE(hasElement(L"\"-version\""));
}

TEST_F(RefusedStart, OptionsAreCaseSensitive) {
    EXPECT_STARTED(launch({L"-Version"}));
}

TEST_F(RefusedStart, MissingPropertyFileIsFatal) {
    layOut();
    machine.remove(L"C:\\Apps\\framework\\Client\\zel\\zellauncher.properties");
    EXPECT_FATAL(launch());
    expectTempLogEnds(
        "ZLNCH0096E: Unable to load C:\\Apps\\framework\\Client\\zel\\zellauncher.properties file!");
}

TEST_F(RefusedStart, DirectoryAsPropertyFileIsFatal) {
    layOut();
    machine.remove(L"C:\\Apps\\framework\\Client\\zel\\zellauncher.properties");
    machine.makeDirectory(L"C:\\Apps\\framework\\Client\\zel\\zellauncher.properties");
    EXPECT_FATAL(launch());
    expectTempLogEnds(
        "ZLNCH0096E: Unable to load C:\\Apps\\framework\\Client\\zel\\zellauncher.properties file!");
}

TEST_F(RefusedStart, Utf16PropertyFileIsFatal) {
    layOut();
    std::string content = "\xFF\xFE";
    for (const char c : std::string("zel.install.id=1\r\n")) {
        content += c;
        content += '\0';
    }
    machine.writeFile(L"C:\\Apps\\framework\\Client\\zel\\zellauncher.properties", content);
    EXPECT_FATAL(launch());
    expectTempLogEnds("ZLNCH0016E: zel.install.id is required for this configuration!");
}

TEST_F(RefusedStart, MissingBaseLocationIsFatal) {
    launcherProperties.remove("zel.base.location");
    EXPECT_FATAL(launch());
    expectTempLogEnds(
        "ZLNCH0050E: zel.base.location property is missing from "
        "C:\\Apps\\framework\\Client\\zel\\zellauncher.properties");
}

TEST_F(RefusedStart, BaseLocationKeepsItsSecondPlaceholder) {
    launcherProperties.set("zel.base.location", "${zel.home}/${zel.home}");
    EXPECT_FATAL(launch());
    EXPECT_TRUE(logHas("ZLNCH0009E: Unable to copy config.ini to the user directory."));
}

TEST_F(RefusedStart, WrongArgumentCountIsFatal) {
    EXPECT_FATAL(launch({L"-maxargcnt", L"9"}));
    expectTempLogEnds(
        "ZLNCH0069E: zellauncher invoked with an invalid URL handler action - bad argument count.");
    EXPECT_FALSE(machine.exists(inWorkspace(L".zel.lock")));
}

TEST_F(RefusedStart, ScreeningComesBeforeTheLock) {
    EXPECT_FATAL(launch({L"a\"b"}));
    expectTempLogEnds("ZLNCH0089E: zellauncher invoked with double quote in arg - bad argument.");
    EXPECT_FATAL(launch({L"-Djava.home=x"}));
    expectTempLogEnds("ZLNCH0192E: zellauncher invoked with arg containing \"java.home\" - not allowed.");
    EXPECT_FALSE(machine.exists(inWorkspace(L".zel.lock")));
}

TEST_F(RefusedStart, ConfiguredArgumentsAreNotScreened) {
    launcherProperties.set("config.app.1", "-Djava.home=x");
    EXPECT_STARTED(launch({L"-config", L"app"}));
    EXPECT_TRUE(hasElement(L"\"-Djava.home=x\""));
}

TEST_F(RefusedStart, NextStartRemovesLogInTempWithoutDrive) {
    for (const wchar_t* temp : {L"\\Temp", L"\\\\localhost\\C$\\Temp"}) {
        machine.setEnvironment(L"TEMP", temp);
        EXPECT_FATAL(launch({L"a\"b"}));
        EXPECT_TRUE(contains(tempLog(), "ZLNCH0089E: "));
        for (int start = 0; start < 2; ++start) {
            EXPECT_STARTED(launch());
            EXPECT_FALSE(machine.exists(L"C:\\Temp\\zellauncher.log"));
            closePlatform();
        }
    }
}

TEST_F(RefusedStart, OverrideWithoutAnOptionIsFatal) {
    EXPECT_FATAL(launch({L"vmarg.Xmx"}));
    expectTempLogEnds("ZLNCH0033E: zellauncher invoked with an invalid vmarg.");
}

TEST_F(RefusedStart, WorkspaceThatCannotBeCreatedIsFatal) {
    layOut();
    machine.refuse(L"C:\\Users\\ann", platform::errorAccessDenied);
    machine.writeFile(L"C:\\Users\\ann\\Mivel", "a file in the way");
    EXPECT_FATAL(launch());
    expectTempLogEnds("ZLNCH0083E: Unable to create C:\\Users\\ann/Mivel/ZEL/1234/ann directory.");
}

TEST_F(RefusedStart, EmptyWorkspaceIsFatal) {
    launcherProperties.set("zel.data", "");
    EXPECT_FATAL(launch());
    expectTempLogEnds("ZLNCH0083E: Unable to create  directory.");
}

TEST_F(RefusedStart, LogsDirectoryThatCannotBeCreatedIsFatal) {
    layOut();
    machine.writeFile(inWorkspace(L"logs"), "a file in the way");
    EXPECT_FATAL(launch());
    EXPECT_TRUE(endsWith(tempLog(),
                         "ZLNCH0084E: Unable to create C:\\Users\\ann\\Mivel\\ZEL\\1234\\ann\\logs "
                         "directory.\n\n"));
}

TEST_F(RefusedStart, LogThatCannotBeOpenedIsFatal) {
    layOut();
    machine.makeDirectory(inWorkspace(L"logs\\zellauncher.log"));
    EXPECT_FATAL(launch());
    EXPECT_TRUE(endsWith(tempLog(),
                         "ZLNCH0019E: Could not open "
                         "C:\\Users\\ann\\Mivel\\ZEL\\1234\\ann\\logs\\zellauncher.log for writing!\n\n"));
    EXPECT_FALSE(machine.exists(inWorkspace(L".config")));
}

TEST_F(RefusedStart, ConfigDirectoryThatCannotBeCreatedIsFatal) {
    layOut();
    machine.writeFile(inWorkspace(L".config"), "a file in the way");
    EXPECT_FATAL(launch());
    expectLogEnds("ZLNCH0093E: Unable to create C:\\Users\\ann/Mivel/ZEL/1234/ann/.config directory.");
}

TEST_F(RefusedStart, ApplicationDirectoryThatCannotBeCreatedIsFatal) {
    layOut();
    machine.writeFile(inWorkspace(L"applications\\eclipse\\features"), "in the way");
    EXPECT_FATAL(launch());
    expectLogEnds(
        "ZLNCH0094E: Unable to create "
        "C:\\Users\\ann\\Mivel\\ZEL\\1234\\ann\\applications\\eclipse\\features directory.");
    machine.remove(inWorkspace(L"applications\\eclipse\\features"));
    machine.writeFile(inWorkspace(L"applications\\eclipse\\plugins"), "in the way");
    EXPECT_FATAL(launch());
    expectLogEnds(
        "ZLNCH0095E: Unable to create "
        "C:\\Users\\ann\\Mivel\\ZEL\\1234\\ann\\applications\\eclipse\\plugins directory.");
}

TEST_F(RefusedStart, MissingTempLosesTheLog) {
    machine.unsetEnvironment(L"HOMEDRIVE");
    machine.unsetEnvironment(L"USERPROFILE");
    machine.unsetEnvironment(L"TEMP");
    EXPECT_FATAL(launch());
    EXPECT_FALSE(launchertest::callsOf(machine, "environmentValue", L"TEMP").empty());
    EXPECT_EQ(tempLog(), "");
}

TEST_F(RefusedStart, MissingHomeIsFatal) {
    machine.unsetEnvironment(L"HOMEPATH");
    machine.unsetEnvironment(L"USERPROFILE");
    EXPECT_FATAL(launch());
    expectTempLogEnds("ZLNCH0082E: Unable to determine user's home directory");
}

TEST_F(RefusedStart, MissingUserNameIsFatal) {
    machine.unsetEnvironment(L"USERNAME");
    EXPECT_FATAL(launch());
    expectTempLogEnds("ZLNCH0037E: Couldn't find the user name!");
}

TEST_F(RefusedStart, HugeUserNameIsFatal) {
    machine.setEnvironment(L"USERNAME", std::wstring(30000, L'u'));
    EXPECT_FATAL(launch());
    EXPECT_TRUE(contains(tempLog(), "ZLNCH0083E: Unable to create C:\\Users\\ann/Mivel/ZEL/1234/uuu"));
}

TEST_F(RefusedStart, UnknownTokenInTheWorkspaceIsFatal) {
    EXPECT_FATAL(launch({L"-data", L"${env.NOT_SET}"}));
    expectTempLogEnds("ZLNCH0301E: Starts with placeholder. This should be translated");
}

TEST_F(RefusedStart, RelativeWorkspacePropertyIsFatal) {
    launcherProperties.set("zel.data", "here");
    EXPECT_FATAL(launch());
    expectTempLogEnds("ZLNCH0140E: relative paths can not be converted to unicode path");
}

TEST_F(RefusedStart, MissingPlatformProgramIsFatal) {
    layOut();
    machine.remove(nativeLauncher);
    EXPECT_FATAL(launch());
    expectLogEnds(
        "ZLNCH0007E: C:/Apps/framework/Client/zel/eclipse/plugins/base_1.0\\win32\\x86_64\\eclipse.exe is "
        "not executable or does not exist.");
}

TEST_F(RefusedStart, MissingJvmPropertiesAreFatal) {
    layOut();
    machine.remove(L"C:\\Apps\\framework\\Client\\zel\\deploy\\jvm.properties");
    EXPECT_FATAL(launch());
    expectLogEnds("ZLNCH0096E: Unable to load C:/Apps/framework/Client/zel/deploy/jvm.properties file!");
}

TEST_F(RefusedStart, UnknownTokenInAPropertyIsFatal) {
    baseProperties.set("-Dx", "${prop.unknown}");
    EXPECT_FATAL(launch());
    expectLogEnds("ZLNCH0088E: property substitution is invalid (${prop.unknown})");
}

// The argument is stored in args.properties, whose values are substituted.
TEST_F(RefusedStart, UnknownTokenInAnArgumentIsFatal) {
    EXPECT_FATAL(launch({L"${unknown}"}));
    expectLogEnds("ZLNCH0088E: property substitution is invalid (${unknown})");
}

TEST_F(RefusedStart, RestartWithAResetIsFatalWithoutRestartState) {
    EXPECT_FATAL(launch({L"-restart", L"-resetconfig"}));
    expectLogEnds(
        "ZLNCH0096E: Unable to load C:\\Users\\ann/Mivel/ZEL/1234/ann/.config\\args.properties file!");
}

TEST_F(RefusedStart, InstallOutsideFrameworkEndsWithAccessViolation) {
    layOut();
    // The same install below a directory that is not called framework.
    const std::wstring other = L"C:\\Apps\\frame\\Client";
    machine.writeFile(other + L"\\zel\\zellauncher.exe", "");
    launcherProperties.set("zel.base.location", "C:/Apps/framework/Client/zel/eclipse/plugins/base_1.0");
    machine.writeFile(other + L"\\zel\\zellauncher.properties", launcherProperties.content());
    machine.writeFile(other + L"\\custom.ini", "");
    machine.writeFile(other + L"\\zel\\deploy\\jvm.properties", "");
    const simulation::ProcessEnd end = launchFrom(other + L"\\zel\\zellauncher.exe");
    EXPECT_EQ(end.kind, simulation::EndKind::accessViolation);
    EXPECT_EQ(end.status, 0xC0000005U);
    EXPECT_TRUE(endsWith(
        log(), "ZELLauncher> no framework directory in the install path \"C:\\Apps\\frame\\Client\"\n"));
    EXPECT_TRUE(machine.startedProcesses().empty());
}

TEST_F(RefusedStart, FullDiskIsFatal) {
    layOut();
    machine.setFreeSpace(0);
    EXPECT_FATAL(launch());
    EXPECT_TRUE(machine.exists(workspace));
    EXPECT_TRUE(machine.startedProcesses().empty());
}

}  // namespace
