#include <gtest/gtest.h>

#include "scenarios/story.h"

namespace {

using scenarios::contains;
using scenarios::Story;

class FirstStart : public Story {};

TEST_F(FirstStart, CreatesTheWorkspaceAndStartsThePlatform) {
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
    const std::string processId = std::to_string(machine.startedProcesses()[0].id);
    EXPECT_EQ(workspaceFile(L".zel.lock"), processId + std::string(10, ' '));
    EXPECT_EQ(workspaceFile(L".zel.main"), processId + std::string(5, ' '));
    EXPECT_EQ(machine.attributes(inWorkspace(L".zel.lock")) & 0x2002U, 0x2002U);
}

// The workspace is trimmed when it becomes a property, and the history of starts is kept in what it is then.
TEST_F(FirstStart, TrimsTheWorkspaceBeforeItBuildsTheCommand) {
    machine.makeDirectory(L"D:\\ws\\logs");
    machine.makeDirectory(L"\\\\?\\D:\\ws ");
    EXPECT_STARTED(launch({L"-data", L"D:\\ws "}));
    EXPECT_TRUE(machine.exists(L"D:\\ws\\logs\\shutdown.log"));
    EXPECT_TRUE(machine.exists(L"\\\\?\\D:\\ws \\.zel.lock"));
    EXPECT_TRUE(hasElement(L"\"D:\\ws \""));
}

TEST_F(FirstStart, SeedsTheConfiguration) {
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

TEST_F(FirstStart, LogsItsSteps) {
    EXPECT_STARTED(launch());
    const std::string beginning =
        "ZLNCH0030I: zellauncher wmain arguments=\"C:\\Apps\\framework\\Client\\zel\\zellauncher.exe, \n"
        "ZLNCH0090E: Existing platform lock file found - checking validity.\n"
        "ZLNCH0091E: No data in the platform lock file.\n"
        "ZLNCH0304I: We are main process\n"
        "\n";
    std::string text = log();
    const std::size_t captured = text.find("ZLNCH0303I: lock file captured @ ");
    ASSERT_NE(captured, std::string::npos) << text;
    text.erase(captured, text.find('\n', captured) + 1 - captured);
    EXPECT_EQ(text.substr(0, beginning.size()), beginning);
    EXPECT_TRUE(logHas("ZLNCH0021I: VM specified is \"C:/Apps/framework/Client/jvm/bin/javaw.exe\""));
    EXPECT_TRUE(logHas(
        "ZLNCH0077I: loading jvm.properties at \"C:/Apps/framework/Client/zel/deploy/jvm.properties\""));
    EXPECT_TRUE(contains(log(), "ZLNCH0072I: Command = '\"C:/Apps/framework/Client/zel/eclipse"));
    EXPECT_TRUE(contains(log(), "ZLNCH0306I: lock file released @ 20260131_"));
    EXPECT_FALSE(machine.exists(L"C:\\Temp\\zellauncher.log"));
}

TEST_F(FirstStart, DebugWritesAnotherLogAndShowsErrors) {
    EXPECT_STARTED(launch({L"-debug"}));
    const std::string debugLog = logAt(firstDebugLog);
    EXPECT_TRUE(contains(debugLog, "ZLNCH0032I: Prop Line = \"zel.install.id=1234\""));
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

TEST_F(FirstStart, IgnoresResetconfig) {
    EXPECT_STARTED(launch({L"-resetconfig"}));
    EXPECT_FALSE(machine.exists(inWorkspace(L".configbak")));
    EXPECT_FALSE(contains(*configFile(L"args.properties"), "resetconfig"));
}

TEST_F(FirstStart, RemovesTheCurrentDirectoryFromTheLibrarySearch) {
    const simulation::ProcessId id = begin();
    EXPECT_STARTED(machine.waitFor(id));
    EXPECT_FALSE(machine.currentDirectoryInLibrarySearch(id));
}

TEST_F(FirstStart, SetsTheTaskbarIdentityOfBothProcesses) {
    const simulation::ProcessId id = begin();
    EXPECT_STARTED(machine.waitFor(id));
    EXPECT_EQ(machine.appUserModelIdOf(id), L"mivel.tarsin.client.eclipse.exe");
    const platform::StartInformation& start = machine.startedProcesses().at(0).start;
    EXPECT_EQ(start.flags, 0x3000U);
    EXPECT_EQ(start.title, L"mivel.tarsin.client.eclipse.exe");
}

TEST_F(FirstStart, UsesTheWorkspaceOfTheCommandLine) {
    EXPECT_STARTED(launch({L"-data", L"D:\\my ws\\"}));
    EXPECT_TRUE(machine.exists(L"D:\\my ws\\.config\\zelinstall.properties"));
    EXPECT_FALSE(machine.exists(workspace));
    EXPECT_TRUE(contains(command(), L"-data \"D:\\my ws\" -configuration \"D:\\my ws/.config\""));
    EXPECT_TRUE(contains(command(), L"-Dzel.data=\"D:\\my ws\""));
    EXPECT_TRUE(
        contains(*machine.readFile(L"D:\\my ws\\.config\\args.properties"), "arg2=D\\:\\\\my ws\\\\\r\n"));
}

TEST_F(FirstStart, PassesArgumentsAndOverridesOn) {
    baseProperties.set("vmarg.Xss", "-Xss1m");
    EXPECT_STARTED(launch({L"vmarg.Xss=-Xss256k", L"hello world", L"-vmargs", L"-Dmine=1"}));
    EXPECT_TRUE(contains(command(), L"--launcher.suppressErrors \"hello world\" -data "));
    EXPECT_TRUE(contains(command(), L" -vmargs \"-Dmine=1\" \"-Xss256k\" -Dzel.home="));
    EXPECT_FALSE(contains(command(), L"-Xss1m"));
    EXPECT_FALSE(contains(command(), L"vmarg."));
}

TEST_F(FirstStart, ExpandsANamedConfiguration) {
    launcherProperties.set("config.app.1", "-application");
    launcherProperties.set("config.app.2", "com.example.other");
    launcherProperties.set("config.app.appID", "com.example.id");
    EXPECT_STARTED(launch({L"-config", L"app", L"x"}));
    EXPECT_TRUE(contains(command(), L"\"x\" -application \"com.example.other\" -data"));
    const platform::StartInformation& start = machine.startedProcesses().at(0).start;
    EXPECT_EQ(start.flags, 0x1000U);
    EXPECT_EQ(start.title, L"com.example.id");
}

TEST_F(FirstStart, ChangesThePlatformsEnvironment) {
    baseProperties.set("library.path.prepend", "${zel.home}/bin");
    baseProperties.set("env.set.GREETING", "hello");
    baseProperties.set("env.unset.USERNAME", "");
    EXPECT_STARTED(launch());
    EXPECT_EQ(childEnvironment().at(L"PATH"), L"C:/Apps/framework/Client/bin;C:\\Windows\\System32");
    EXPECT_EQ(childEnvironment().at(L"GREETING"), L"hello");
    EXPECT_EQ(childEnvironment().count(L"USERNAME"), 0U);
}

TEST_F(FirstStart, SubstitutesTheWorkspaceInProperties) {
    baseProperties.set("-Dws", "${prop.scrivia.workspace.loc}");
    EXPECT_STARTED(launch({L"-debug"}));
    EXPECT_TRUE(hasElement(L"-Dws=\"C:/Users/ann/Mivel/ZEL/1234/ann\""));
    const std::string debugLog = logAt(firstDebugLog);
    EXPECT_TRUE(contains(
        debugLog, "\nZLNCH0077I: Scrivia workspaceLocation is -  \"C:/Users/ann/Mivel/ZEL/1234/ann\"\n"));
}

TEST_F(FirstStart, WaitOptionWaitsForThePlatform) {
    EXPECT_STARTED(launch({L"-zelLauncherWait"}));
    EXPECT_GE(machine.elapsedMilliseconds(), platform.livesMilliseconds);
    EXPECT_TRUE(hasElement(L"\"-zelLauncherWait\""));
}

TEST_F(FirstStart, ProvManifestAloneStartsThePlatform) {
    EXPECT_STARTED(launch({L"-provManifest"}));
    EXPECT_EQ(machine.startedProcesses().size(), 1U);
}

TEST_F(FirstStart, ProvManifestWithWaitStartsNothing) {
    EXPECT_STARTED(launch({L"-provManifest", L"-zelLauncherWait"}));
    EXPECT_TRUE(machine.startedProcesses().empty());
    EXPECT_TRUE(machine.exists(inConfig(L"zelinstall.properties.bak")));
}

}  // namespace
