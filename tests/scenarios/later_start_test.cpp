#include <gtest/gtest.h>

#include <algorithm>

#include "scenarios/story.h"

namespace {

using scenarios::contains;
using scenarios::Story;

class LaterStart : public Story {
protected:
    // An earlier start whose platform the user has closed.
    void startOnce(const std::vector<std::wstring>& arguments = {}) {
        EXPECT_STARTED(launch(arguments));
        closePlatform();
    }
};

TEST_F(LaterStart, KeepsTheFilesAndBuildsTheSameCommand) {
    startOnce();
    const std::wstring firstCommand = command();
    const auto userProperties = configFile(L"zelinstall.properties");
    machine.writeFile(inConfig(L"config.ini"), "mine");
    EXPECT_STARTED(launch());
    EXPECT_EQ(command(), firstCommand);
    EXPECT_EQ(configFile(L"zelinstall.properties"), userProperties);
    EXPECT_EQ(configFile(L"config.ini"), "mine");
    EXPECT_EQ(machine.startedProcesses().size(), 2U);
    EXPECT_EQ(workspaceFile(L".zel.main"),
              std::to_string(machine.startedProcesses()[1].id) + std::string(5, ' '));
}

TEST_F(LaterStart, DeletesTheStalePipeFile) {
    startOnce();
    EXPECT_TRUE(machine.exists(inWorkspace(L".pipe")));
    platform.publishes = false;
    EXPECT_STARTED(launch());
    EXPECT_FALSE(machine.exists(inWorkspace(L".pipe")));
}

TEST_F(LaterStart, PurgesTheSharedClassCacheAfterAnUncleanEnd) {
    const std::vector<std::wstring> arguments = {
        L"vmarg.CacheMaintenance.enable=",
        L"vmarg.Dshare=-Xshareclasses:name=app%u,controlDir=" + std::wstring(workspace) + L"\\cache"};
    startOnce(arguments);
    machine.writeFile(inWorkspace(L"cache\\x_app_1"), "");
    machine.writeFile(inWorkspace(L"cache\\other"), "");
    EXPECT_STARTED(launch(arguments));
    EXPECT_FALSE(machine.exists(inWorkspace(L"cache\\x_app_1")));
    EXPECT_TRUE(machine.exists(inWorkspace(L"cache\\other")));
}

TEST_F(LaterStart, AddsEachStartToTheShutdownLog) {
    startOnce();
    startOnce();
    const std::string history = *workspaceFile(L"logs\\shutdown.log");
    EXPECT_EQ(std::count(history.begin(), history.end(), '\n'), 2);
    EXPECT_TRUE(history.starts_with("Started Sat Jan 31 23:59:00 2026\r\n")) << history;
}

TEST_F(LaterStart, ConfiguredProgramIsStoredForARestart) {
    launcherProperties.set("config.app.restartExe.win32", "${zel.home}/zel/app.exe");
    startOnce({L"-config", L"app", L"x"});
    EXPECT_EQ(configFile(L"args.properties"),
              "arg0=C\\:\\\\Apps\\\\framework\\\\Client\\\\zel\\\\app.exe\r\n"
              "arg1=-config\r\n"
              "arg2=app\r\n"
              "arg3=x\r\n"
              "argc=4\r\n"
              "com.mivel.zel.core.internal.librarypath=C\\:\\\\Windows\\\\System32\r\n");
}

TEST_F(LaterStart, RestartKeepsTheStoredArguments) {
    startOnce({L"-first"});
    const auto arguments = configFile(L"args.properties");
    EXPECT_STARTED(launch({L"-restart", L"-zel_old_pid", L"1", L"-second"}));
    EXPECT_EQ(configFile(L"args.properties"), arguments);
    EXPECT_TRUE(hasElement(L"\"-second\""));
    EXPECT_FALSE(hasElement(L"\"-restart\""));
    EXPECT_FALSE(contains(command(), L"zel_old_pid"));
}

TEST_F(LaterStart, RestartWaitsForTheOldPlatform) {
    platform.livesMilliseconds = 5000;
    EXPECT_STARTED(launch());
    const simulation::ProcessId old = machine.startedProcesses()[0].id;
    EXPECT_STARTED(launch({L"-restart", L"-zel_old_pid", std::to_wstring(old)}));
    EXPECT_FALSE(machine.isRunning(old));
    EXPECT_EQ(machine.startedProcesses().size(), 2U);
}

TEST_F(LaterStart, RestartWithoutStoredArgumentsIsFatal) {
    startOnce();
    machine.remove(inConfig(L"args.properties"));
    EXPECT_FATAL(launch({L"-restart"}));
    EXPECT_TRUE(logHas(
        "ZLNCH0096E: Unable to load C:\\Users\\ann/Mivel/ZEL/1234/ann/.config\\args.properties file!"));
}

TEST_F(LaterStart, BecomesTheDaemonOfARunningPlatform) {
    EXPECT_STARTED(launch());
    const auto arguments = configFile(L"args.properties");
    EXPECT_STARTED(launch({L"hello"}));
    EXPECT_EQ(configFile(L"args.properties"), arguments);  // still those of the running platform
    EXPECT_EQ(machine.startedProcesses().size(), 1U);
    EXPECT_TRUE(logHas("ZLNCH0305I: We are daemon process"));
}

TEST_F(LaterStart, ProvManifestIsFatalWhileThePlatformRuns) {
    EXPECT_STARTED(launch());
    EXPECT_FATAL(launch({L"-provManifest"}));
    EXPECT_TRUE(logHas("ZLNCH0122E: Attempting to install while process " +
                       std::to_string(machine.startedProcesses()[0].id) + " is running."));
}

TEST_F(LaterStart, TwoLaunchersAtOnceStartOnePlatform) {
    const simulation::ProcessId first = begin({L"one"});
    const simulation::ProcessId second = begin({L"two"});
    EXPECT_STARTED(machine.waitFor(first));
    EXPECT_STARTED(machine.waitFor(second));
    EXPECT_EQ(machine.startedProcesses().size(), 1U);
    ASSERT_EQ(payloads().size(), 1U);
    const std::wstring other = hasElement(L"\"one\"") ? L"two" : L"one";
    EXPECT_TRUE(contains(payloads()[0], L"\n" + other + L"\n"));
}

TEST_F(LaterStart, RefusedSemaphoreIsFatal) {
    startOnce();
    const simulation::ProcessId old = machine.startedProcesses()[0].id;
    machine.createSemaphore(L"Global\\platform-" + std::to_wstring(old) + L"sem",
                            simulation::SemaphoreAccess::denied);
    EXPECT_FATAL(launch());
    // The lock forces its lines into the log, so the log has the name of a debug log.
    const std::string lockLog = logAt(machine.tree(L"C:\\Temp").at(0));
    EXPECT_TRUE(
        contains(lockLog, "ZLNCH0303E: Unable to access process. Is it elevated? ' Failed with error 5: "));
}

TEST_F(LaterStart, DeletesTheTempLogOfAnEarlierFailure) {
    startOnce();
    machine.writeFile(L"C:\\Temp\\zellauncher.log", "failure");
    EXPECT_STARTED(launch());
    EXPECT_FALSE(machine.exists(L"C:\\Temp\\zellauncher.log"));
}

}  // namespace
