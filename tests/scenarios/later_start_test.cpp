#include <gtest/gtest.h>

#include <algorithm>

#include "scenarios/story.h"

namespace {

using scenarios::Story;

class LaterStart : public Story {
protected:
    // The user has started the platform before and closed it.
    void startOnce(const std::vector<std::wstring>& words = {}) {
        EXPECT_STARTED(launch(words));
        closePlatform();
    }
};

TEST_F(LaterStart, FindsEverythingInPlaceAndBuildsTheSameCommand) {
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

TEST_F(LaterStart, DeletesTheEndpointThatAPlatformLeft) {
    startOnce();
    EXPECT_TRUE(machine.exists(inWorkspace(L".pipe")));
    platform.publishes = false;
    EXPECT_STARTED(launch());
    EXPECT_FALSE(machine.exists(inWorkspace(L".pipe")));
}

TEST_F(LaterStart, PurgesTheSharedClassCacheAfterAnUncleanEnd) {
    const std::vector<std::wstring> words = {
        L"vmarg.CacheMaintenance.enable=",
        L"vmarg.Dshare=-Xshareclasses:name=app%u,controlDir=" + std::wstring(workspace) + L"\\cache"};
    startOnce(words);
    machine.writeFile(inWorkspace(L"cache\\x_app_1"), "");
    machine.writeFile(inWorkspace(L"cache\\other"), "");
    EXPECT_STARTED(launch(words));
    EXPECT_FALSE(machine.exists(inWorkspace(L"cache\\x_app_1")));
    EXPECT_TRUE(machine.exists(inWorkspace(L"cache\\other")));
}

TEST_F(LaterStart, RecordsEachStartInTheHistory) {
    startOnce();
    startOnce();
    const std::string history = *workspaceFile(L"logs\\shutdown.log");
    EXPECT_EQ(std::count(history.begin(), history.end(), '\n'), 2);
    EXPECT_TRUE(history.starts_with("Started Sat Jan 31 23:59:00 2026\r\n")) << history;
}

TEST_F(LaterStart, ARestartKeepsTheArgumentsOfTheFirstStart) {
    startOnce({L"-first"});
    const auto arguments = configFile(L"args.properties");
    EXPECT_STARTED(launch({L"-restart", L"-zel_old_pid", L"1", L"-second"}));
    EXPECT_EQ(configFile(L"args.properties"), arguments);
    EXPECT_TRUE(hasElement(L"\"-second\""));
    EXPECT_FALSE(hasElement(L"\"-restart\""));
    EXPECT_EQ(command().find(L"zel_old_pid"), std::wstring::npos);
}

TEST_F(LaterStart, ARestartWaitsForThePlatformThatAskedForIt) {
    platform.livesMilliseconds = 5000;
    EXPECT_STARTED(launch());
    const simulation::ProcessId old = machine.startedProcesses()[0].id;
    EXPECT_STARTED(launch({L"-restart", L"-zel_old_pid", std::to_wstring(old)}));
    EXPECT_FALSE(machine.isRunning(old));
    EXPECT_EQ(machine.startedProcesses().size(), 2U);
}

TEST_F(LaterStart, ARestartWithoutRestartStateIsRefused) {
    startOnce();
    machine.remove(inConfig(L"args.properties"));
    EXPECT_FATAL(launch({L"-restart"}));
    EXPECT_TRUE(logHas(
        "ZLNCH0096E: Unable to load C:\\Users\\ann/Mivel/ZEL/1234/ann/.config\\args.properties file!"));
}

TEST_F(LaterStart, AStartWhileThePlatformRunsStartsNoSecondOne) {
    EXPECT_STARTED(launch());
    const auto arguments = configFile(L"args.properties");
    EXPECT_STARTED(launch({L"hello"}));
    EXPECT_EQ(configFile(L"args.properties"), arguments);  // those of the platform that runs
    EXPECT_EQ(machine.startedProcesses().size(), 1U);
    EXPECT_TRUE(logHas("ZLNCH0305I: We are daemon process"));
}

TEST_F(LaterStart, AnInstallationIsRefusedWhileThePlatformRuns) {
    EXPECT_STARTED(launch());
    EXPECT_FATAL(launch({L"-provManifest"}));
    EXPECT_TRUE(logHas("ZLNCH0122E: Attempting to install while process " +
                       std::to_string(machine.startedProcesses()[0].id) + " is running."))
        << log();
}

TEST_F(LaterStart, TwoLaunchersAtOnceStartOnePlatform) {
    const simulation::ProcessId first = begin({L"one"});
    const simulation::ProcessId second = begin({L"two"});
    EXPECT_STARTED(machine.waitFor(first));
    EXPECT_STARTED(machine.waitFor(second));
    EXPECT_EQ(machine.startedProcesses().size(), 1U);
    ASSERT_EQ(payloads().size(), 1U);
    const std::wstring other = hasElement(L"\"one\"") ? L"two" : L"one";
    EXPECT_NE(payloads()[0].find(L"\n" + other + L"\n"), std::wstring::npos);
}

TEST_F(LaterStart, ARefusedSemaphoreIsReported) {
    startOnce();
    const simulation::ProcessId old = machine.startedProcesses()[0].id;
    machine.createSemaphore(L"Global\\platform-" + std::to_wstring(old) + L"sem", false);
    EXPECT_FATAL(launch());
    // The lines of the lock are forced into the log, and so its name is that of a debug log.
    const std::string lockLog = logAt(machine.tree(L"C:\\Temp").at(0));
    EXPECT_NE(lockLog.find("ZLNCH0303E: Unable to access process. Is it elevated? ' Failed with error 5: "),
              std::string::npos)
        << lockLog;
}

TEST_F(LaterStart, TheLogOfAnEarlierFailureInTempIsDeleted) {
    startOnce();
    machine.writeFile(L"C:\\Temp\\zellauncher.log", "failure");
    EXPECT_STARTED(launch());
    EXPECT_FALSE(machine.exists(L"C:\\Temp\\zellauncher.log"));
}

}  // namespace
