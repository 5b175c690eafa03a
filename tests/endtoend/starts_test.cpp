#include "endtoend.h"
#include "held_files.h"

namespace {

using endtoend::Arguments;
using endtoend::contains;
using endtoend::containsInOrder;
using endtoend::EndToEnd;
using endtoend::fatalStatus;
using endtoend::forward;
namespace fs = std::filesystem;

class Starts : public EndToEnd {};

TEST_F(Starts, FirstStartCreatesFilesAndStartsThePlatform) {
    EXPECT_EQ(launch(), 0U) << log() << tempLog();
    for (const wchar_t* name :
         {L".config/args.properties", L".config/config.ini", L".config/zelinstall.properties",
          L".config/zelinstall.properties.bak", L".config/org.eclipse.update/platform.xml", L".zel.lock",
          L".zel.main", L".pipe", L"applications/eclipse/features", L"applications/eclipse/plugins",
          L"logs/shutdown.log"}) {
        EXPECT_TRUE(fs::exists(workspace() / name)) << fs::path(name);
    }
    EXPECT_EQ(argumentAfter(L"-data"), workspaceArgument());
    EXPECT_TRUE(isPlatformRunning(workspace()));
    const std::string processId = platformProcessId();
    EXPECT_EQ(read(workspace() / L".zel.main"), processId + std::string(5, ' '));
    EXPECT_EQ(read(workspace() / L".zel.lock"), processId + std::string(10, ' '));
    EXPECT_TRUE(contains(log(), "ZLNCH0304I: We are main process\n"));
    EXPECT_TRUE(contains(log(), "ZLNCH0072I: Command = '\""));
    EXPECT_EQ(read(workspace() / L".config" / L"config.ini"), "seeded=user\n");
    EXPECT_TRUE(isLockFree());
    EXPECT_EQ(read(workspace() / L".config" / L"org.eclipse.update" / L"platform.xml"),
              "<config>\n<feature>\n</config>\n");
}

TEST_F(Starts, LaterStartChangesNothing) {
    EXPECT_EQ(launch(), 0U);
    const std::wstring first = platformCommand();
    const std::string properties = read(workspace() / L".config" / L"zelinstall.properties");
    stopPlatform();
    EXPECT_EQ(launch(), 0U) << log();
    EXPECT_EQ(platformCommand(), first);
    EXPECT_EQ(read(workspace() / L".config" / L"zelinstall.properties"), properties);
}

TEST_F(Starts, DebugWritesALogOfItsOwn) {
    EXPECT_EQ(launch({L"-debug"}), 0U);
    const std::vector<std::string> logs = debugLogs();
    ASSERT_EQ(logs.size(), 1U);
    EXPECT_TRUE(contains(logs.front(), "ZLNCH0032I: Prop Line = \"zel.install.id=1234\"\n"));
    EXPECT_FALSE(hasArgument(L"--launcher.suppressErrors"));
}

TEST_F(Starts, VersionIsAnsweredInTheLog) {
    EXPECT_EQ(launch({L"-version"}), fatalStatus);
    EXPECT_FALSE(fs::exists(workspace()));
    EXPECT_EQ(tempLog(), "ZLNCH0031I:   version = \"20250218.1837\"\n\n");
}

TEST_F(Starts, VersionWithOtherArgumentsIsPassedOn) {
    EXPECT_EQ(launch({L"-version", L"hello"}), 0U) << log();
    EXPECT_TRUE(hasArgument(L"-version"));
}

TEST_F(Starts, ArgumentsReachThePlatformUnchanged) {
    const Arguments arguments = {L"two words", L"100%s", L"a;b", L"/path/", L"\\u0041"};
    EXPECT_EQ(launch(arguments), 0U) << log();
    EXPECT_TRUE(containsInOrder(platformArguments(), arguments));
}

TEST_F(Starts, ConfigAddsItsArgumentsAndIdentity) {
    setProperty("config.app.1", "-application");
    setProperty("config.app.2", "com.example.other");
    setProperty("config.app.appID", "com.example.id");
    EXPECT_EQ(launch({L"-config", L"app"}), 0U) << log();
    EXPECT_EQ(argumentAfter(L"-application"), L"com.example.other");
    EXPECT_EQ(platformStart()["flags"], "1000");
    EXPECT_EQ(platformStart()["title"], "com.example.id");
}

TEST_F(Starts, PlatformGetsTheTaskbarIdentity) {
    EXPECT_EQ(launch(), 0U);
    EXPECT_EQ(platformStart()["flags"], "3000");
    EXPECT_EQ(platformStart()["title"], "mivel.tarsin.client.eclipse.exe");
}

TEST_F(Starts, VmargOverrideWins) {
    baseLines.push_back("vmarg.Xss=-Xss1m");
    EXPECT_EQ(launch({L"vmarg.Xss=-Xss256k"}), 0U);
    EXPECT_TRUE(hasArgument(L"-Xss256k"));
    EXPECT_FALSE(hasArgument(L"-Xss1m"));
}

TEST_F(Starts, DataChoosesTheWorkspace) {
    const fs::path other = root / L"my workspace";
    EXPECT_EQ(launch({L"-data", other.wstring() + L"\\"}), 0U);
    EXPECT_TRUE(contains(platformArguments(other), other.wstring()));
    EXPECT_FALSE(fs::exists(workspace()));
    stopPlatform(other);
}

TEST_F(Starts, VmChoosesTheJvm) {
    layOut();
    write(root / L"other" / L"bin" / L"javaw.exe", "");
    write(root / L"other" / L"jvm.properties", "-Xmx1g\r\n");
    EXPECT_EQ(launch({L"-vm", (root / L"other" / L"bin" / L"javaw.exe").wstring()}), 0U) << log();
    EXPECT_EQ(argumentAfter(L"-vm"), (root / L"other" / L"bin" / L"javaw.exe").wstring());
    EXPECT_TRUE(hasArgument(L"-Xmx1g"));
    EXPECT_FALSE(hasArgument(L"-Xmx512m"));
}

TEST_F(Starts, ConsoleChoosesTheConsoleExecutable) {
    EXPECT_EQ(launch({L"-console"}), 0U);
    EXPECT_EQ(argumentAfter(L"-vm"), forward(install) + L"/jvm/bin/java.exe");
    stopPlatform();
    EXPECT_EQ(launch({L"-consoleLog"}), 0U);
    EXPECT_EQ(argumentAfter(L"-vm"), forward(install) + L"/jvm/bin/java.exe");
}

TEST_F(Starts, MissingConsoleExecutableIsFatal) {
    layOut();
    endtoend::removeAll(install / L"jvm" / L"bin" / L"java.exe");
    EXPECT_EQ(launch({L"-console"}), fatalStatus);
    EXPECT_TRUE(contains(log(), "ZLNCH0003E: Specified vm ("));
}

TEST_F(Starts, CustomExecutableNameIsUsed) {
    setProperty("javaw.exe.name.win32", "clientw.exe");
    layOut();
    write(install / L"jvm" / L"bin" / L"clientw.exe", "");
    EXPECT_EQ(launch(), 0U);
    EXPECT_EQ(argumentAfter(L"-vm"), forward(install) + L"/jvm/bin/clientw.exe");
}

TEST_F(Starts, FirstRunReplacesTheUsersArguments) {
    setProperty("config.initial.1", "-application");
    setProperty("config.initial.2", "com.example.setup");
    setProperty("config.initial.3", "-initialCompleteFlag");
    setProperty("config.initial.4", "setup.done");
    EXPECT_EQ(launch({L"hello"}), 0U) << log();
    EXPECT_EQ(argumentAfter(L"-application"), L"com.example.setup");
    EXPECT_FALSE(hasArgument(L"hello"));
}

TEST_F(Starts, DamagedUserPropertiesAreRestoredFromTheBackup) {
    EXPECT_EQ(launch(), 0U);
    const fs::path properties = workspace() / L".config" / L"zelinstall.properties";
    const std::string good = read(properties);
    stopPlatform();
    write(properties, good.substr(0, good.size() / 2));
    EXPECT_EQ(launch(), 0U) << log();
    EXPECT_EQ(read(properties), good);
}

TEST_F(Starts, PlatformGetsItsEnvironment) {
    baseLines.push_back("library.path.prepend=${zel.home}/bin");
    baseLines.push_back("env.set.GREETING=hello");
    baseLines.push_back("env.unset.USERNAME=");
    EXPECT_EQ(launch(), 0U);
    const endtoend::Variables variables = platformEnvironment();
    EXPECT_EQ(variables.at(L"GREETING"), L"hello");
    EXPECT_EQ(variables.count(L"USERNAME"), 0U);
    EXPECT_TRUE(variables.at(L"PATH").starts_with(forward(install) + L"/bin;"));
}

}  // namespace
