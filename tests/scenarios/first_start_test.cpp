#include <gtest/gtest.h>

#include "scenarios/story.h"

namespace {

using scenarios::Story;

class FirstStart : public Story {};

TEST_F(FirstStart, MakesTheUsersDirectoriesAndFilesAndStartsThePlatform) {
    EXPECT_STARTED(launch());

    EXPECT_EQ(
        machine.tree(workspace),
        (std::vector<std::wstring>{
            inWorkspace(L".config\\"), inConfig(L"args.properties"), inConfig(L"config.ini"),
            inConfig(L"org.eclipse.update\\"), inConfig(L"org.eclipse.update\\platform.xml"),
            inConfig(L"zelinstall.properties"), inConfig(L"zelinstall.properties.bak"), inWorkspace(L".pipe"),
            inWorkspace(L".zel.lock"), inWorkspace(L".zel.main"), inWorkspace(L"applications\\"),
            inWorkspace(L"applications\\eclipse\\"), inWorkspace(L"applications\\eclipse\\features\\"),
            inWorkspace(L"applications\\eclipse\\plugins\\"), inWorkspace(L"logs\\"),
            inWorkspace(L"logs\\shutdown.log"), inWorkspace(L"logs\\zellauncher.log")}));
    ASSERT_EQ(machine.startedProcesses().size(), 1U);
    const std::string number = std::to_string(machine.startedProcesses()[0].id);
    EXPECT_EQ(workspaceFile(L".zel.lock"), number + std::string(10, ' '));
    EXPECT_EQ(workspaceFile(L".zel.main"), number + std::string(5, ' '));
    EXPECT_EQ(machine.attributes(inWorkspace(L".zel.lock")) & 0x2002U, 0x2002U);
}

TEST_F(FirstStart, SeedsTheConfigurationFromTheInstallation) {
    EXPECT_STARTED(launch());
    EXPECT_EQ(configFile(L"config.ini"), "osgi.bundles=example\r\n");
    EXPECT_EQ(configFile(L"org.eclipse.update\\platform.xml"), "<config>\r\n<feature>\r\n</config>\r\n");
    const std::string userProperties =
        "application=com.example.app\r\n"
        "plugincustomization=${zel.home}/custom.ini\r\n"
        "Xbootclasspath.append=${zel.home}/boot.jar\r\n"
        "zel.install.id=1234\r\n"
        "vm=${zel.home}/jvm/bin/javaw.exe\r\n"
        "zel.base.location=${zel.home}/zel/eclipse/plugins/base_1.0\r\n"
        "install.configuration=user\r\n";
    EXPECT_EQ(configFile(L"zelinstall.properties"), userProperties);
    EXPECT_EQ(configFile(L"zelinstall.properties.bak"), userProperties);
    EXPECT_EQ(configFile(L"args.properties"),
              "arg0=C\\:\\\\Apps\\\\framework\\\\Client\\\\zel\\\\zellauncher.exe\r\n"
              "argc=1\r\n"
              "com.mivel.zel.core.internal.librarypath=C\\:\\\\Windows\\\\System32\r\n");
}

TEST_F(FirstStart, BuildsTheWholeCommand) {
    EXPECT_STARTED(launch());
    EXPECT_EQ(elements(),
              (std::vector<std::wstring>{
                  L"\"C:/Apps/framework/Client/zel/eclipse/plugins/base_1.0\\win32\\x86_64\\eclipse.exe\"",
                  L"--launcher.suppressErrors",
                  L"-data",
                  L"\"C:\\Users\\ann/Mivel/ZEL/1234/ann\"",
                  L"-configuration",
                  L"\"C:\\Users\\ann/Mivel/ZEL/1234/ann/.config\"",
                  L"-application",
                  L"\"com.example.app\"",
                  L"-plugincustomization",
                  L"\"C:/Apps/framework/Client/custom.ini\"",
                  L"-product",
                  L"\"com.example.product\"",
                  L"-vm",
                  L"\"C:/Apps/framework/Client/jvm/bin/javaw.exe\"",
                  L"-startup",
                  L"\"C:/Apps/framework/Client/zel/eclipse/plugins/base_1.0/launcher.jar\"",
                  L"-vmargs",
                  L"-Dzel.home=\"C:\\Apps\\framework\\Client\"",
                  L"-Dzel.data=\"C:\\Users\\ann/Mivel/ZEL/1234/ann\"",
                  L"-Dcom.mivel.zel.install.id=\"1234\"",
                  L"-Dzel.install.config=\"user\"",
                  L"-Dzel.osgi.install.area=\"C:\\Apps\\framework\\Client\\zel\\eclipse\"",
                  L"\"-Xmx512m\"",
                  L"-Xbootclasspath/a:\"C:/Apps/framework/Client/boot.jar\"",
              }));
}

TEST_F(FirstStart, TellsItsStoryInTheLog) {
    EXPECT_STARTED(launch());
    const std::string expected =
        "ZLNCH0030I: zellauncher wmain arguments=\"C:\\Apps\\framework\\Client\\zel\\zellauncher.exe, \n"
        "ZLNCH0090E: Existing platform lock file found - checking validity.\n"
        "ZLNCH0091E: No data in the platform lock file.\n"
        "ZLNCH0304I: We are main process\n"
        "\n"
        "ZLNCH0021I: VM specified is \"C:\\Apps\\framework\\Client/jvm/bin/javaw.exe\"\n";
    std::string told = log();
    const std::size_t captured = told.find("ZLNCH0303I: lock file captured @ ");
    ASSERT_NE(captured, std::string::npos) << told;
    told.erase(captured, told.find('\n', captured) + 1 - captured);
    const std::size_t vm = expected.find("ZLNCH0021I");
    EXPECT_EQ(told.substr(0, vm), expected.substr(0, vm));
    EXPECT_TRUE(logHas("ZLNCH0021I: VM specified is \"C:/Apps/framework/Client/jvm/bin/javaw.exe\""))
        << log();
    EXPECT_TRUE(logHas(
        "ZLNCH0077I: loading jvm.properties at \"C:/Apps/framework/Client/zel/deploy/jvm.properties\""));
    EXPECT_NE(log().find("ZLNCH0072I: Command = '\"C:/Apps/framework/Client/zel/eclipse"), std::string::npos);
    EXPECT_NE(log().find("ZLNCH0306I: lock file released @ 20260131_"), std::string::npos);
    EXPECT_FALSE(machine.exists(L"C:\\Temp\\zellauncher.log"));
}

TEST_F(FirstStart, WithDebugHasALogOfItsOwnAndNoSuppressedErrors) {
    EXPECT_STARTED(launch({L"-debug"}));
    const std::string debugLog = logAt(inWorkspace(L"logs\\zellauncher_20260131_235900_000.log"));
    EXPECT_NE(debugLog.find("ZLNCH0032I: Prop Line = \"zel.install.id=1234\""), std::string::npos);
    EXPECT_FALSE(hasElement(L"--launcher.suppressErrors"));
    EXPECT_TRUE(hasElement(L"\"-debug\""));
    EXPECT_FALSE(machine.exists(inWorkspace(L"logs\\zellauncher.log")));
}

TEST_F(FirstStart, CopiesTheExtensionMarker) {
    layOut();
    machine.writeFile(L"C:\\Apps\\framework\\Client\\shared\\eclipse\\.eclipseextension", "marker");
    EXPECT_STARTED(launch());
    EXPECT_EQ(workspaceFile(L"applications\\eclipse\\.eclipseextension"), "marker");
}

TEST_F(FirstStart, WithResetconfigResetsNothing) {
    EXPECT_STARTED(launch({L"-resetconfig"}));
    EXPECT_FALSE(machine.exists(inWorkspace(L".configbak")));
    EXPECT_EQ(configFile(L"args.properties")->find("resetconfig"), std::string::npos);
}

TEST_F(FirstStart, LeavesTheCurrentDirectoryOutOfTheLibrarySearch) {
    const simulation::ProcessId id = begin();
    EXPECT_STARTED(machine.waitFor(id));
    EXPECT_FALSE(machine.currentDirectoryInLibrarySearch(id));
}

TEST_F(FirstStart, GivesItselfAndThePlatformTheTaskbarIdentity) {
    const simulation::ProcessId id = begin();
    EXPECT_STARTED(machine.waitFor(id));
    EXPECT_EQ(machine.appUserModelIdOf(id), L"mivel.tarsin.client.eclipse.exe");
    const platform::StartInformation& start = machine.startedProcesses().at(0).start;
    EXPECT_EQ(start.flags, 0x3000U);
    EXPECT_EQ(start.title, L"mivel.tarsin.client.eclipse.exe");
}

TEST_F(FirstStart, WorksInAWorkspaceOfTheCommandLine) {
    EXPECT_STARTED(launch({L"-data", L"D:\\my ws\\"}));
    EXPECT_TRUE(machine.exists(L"D:\\my ws\\.config\\zelinstall.properties"));
    EXPECT_FALSE(machine.exists(workspace));
    EXPECT_NE(command().find(L"-data \"D:\\my ws\" -configuration \"D:\\my ws/.config\""),
              std::wstring::npos);
    EXPECT_NE(command().find(L"-Dzel.data=\"D:\\my ws\""), std::wstring::npos);
    EXPECT_NE(machine.readFile(L"D:\\my ws\\.config\\args.properties")->find("arg2=D\\:\\\\my ws\\\\\r\n"),
              std::string::npos);
}

TEST_F(FirstStart, TakesTheUsersArgumentsAndOverrides) {
    baseProperties.set("vmarg.Xss", "-Xss1m");
    EXPECT_STARTED(launch({L"vmarg.Xss=-Xss256k", L"hello world", L"-vmargs", L"-Dmine=1"}));
    EXPECT_NE(command().find(L"--launcher.suppressErrors \"hello world\" -data "), std::wstring::npos)
        << command().size();
    EXPECT_NE(command().find(L" -vmargs \"-Dmine=1\" \"-Xss256k\" -Dzel.home="), std::wstring::npos);
    EXPECT_EQ(command().find(L"-Xss1m"), std::wstring::npos);
    EXPECT_EQ(command().find(L"vmarg."), std::wstring::npos);
}

TEST_F(FirstStart, ExpandsANamedConfiguration) {
    launcherProperties.set("config.app.1", "-application");
    launcherProperties.set("config.app.2", "com.example.other");
    launcherProperties.set("config.app.appID", "com.example.id");
    EXPECT_STARTED(launch({L"-config", L"app", L"x"}));
    EXPECT_NE(command().find(L"\"x\" -application \"com.example.other\" -data"), std::wstring::npos);
    const platform::StartInformation& start = machine.startedProcesses().at(0).start;
    EXPECT_EQ(start.flags, 0x1000U);
    EXPECT_EQ(start.title, L"com.example.id");
}

TEST_F(FirstStart, ShapesTheEnvironmentOfThePlatform) {
    baseProperties.set("library.path.prepend", "${zel.home}/bin");
    baseProperties.set("env.set.GREETING", "hello");
    baseProperties.set("env.unset.USERNAME", "");
    EXPECT_STARTED(launch());
    EXPECT_EQ(childEnvironment().at(L"PATH"), L"C:/Apps/framework/Client/bin;C:\\Windows\\System32");
    EXPECT_EQ(childEnvironment().at(L"GREETING"), L"hello");
    EXPECT_EQ(childEnvironment().count(L"USERNAME"), 0U);
}

TEST_F(FirstStart, PropertiesMayNameTheWorkspace) {
    baseProperties.set("-Dws", "${prop.scrivia.workspace.loc}");
    EXPECT_STARTED(launch({L"-debug"}));
    EXPECT_TRUE(hasElement(L"-Dws=\"C:/Users/ann/Mivel/ZEL/1234/ann\""));
    const std::string debugLog = logAt(inWorkspace(L"logs\\zellauncher_20260131_235900_000.log"));
    EXPECT_NE(
        debugLog.find("\nZLNCH0077I: Scrivia workspaceLocation is -  \"C:/Users/ann/Mivel/ZEL/1234/ann\"\n"),
        std::string::npos);
}

TEST_F(FirstStart, WaitsForThePlatformWhenAsked) {
    EXPECT_STARTED(launch({L"-zelLauncherWait"}));
    EXPECT_GE(machine.elapsedMilliseconds(), platform.livesMilliseconds);
    EXPECT_TRUE(hasElement(L"\"-zelLauncherWait\""));
}

TEST_F(FirstStart, ProvManifestAloneStillStarts) {
    EXPECT_STARTED(launch({L"-provManifest"}));
    EXPECT_EQ(machine.startedProcesses().size(), 1U);
}

TEST_F(FirstStart, BothInstallOptionsPrepareTheUserAndStartNothing) {
    EXPECT_STARTED(launch({L"-provManifest", L"-zelLauncherWait"}));
    EXPECT_TRUE(machine.startedProcesses().empty());
    EXPECT_TRUE(machine.exists(inConfig(L"zelinstall.properties.bak")));
}

}  // namespace
