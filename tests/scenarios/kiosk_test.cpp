#include <gtest/gtest.h>

#include <algorithm>

#include "scenarios/story.h"
#include "support/faults.h"

namespace {

using launchertest::failing;
using scenarios::contains;
using scenarios::Story;

constexpr const wchar_t* winLogon = L"Software\\Microsoft\\Windows NT\\CurrentVersion\\WinLogon";
constexpr const wchar_t* shells = L"Software\\Microsoft\\Windows NT\\CurrentVersion\\WinLogon\\KSDShells";

// The logon shell is the kiosk's.
class KioskMachine : public Story {
protected:
    KioskMachine() {
        machine.setRegistryText(winLogon, L"Shell", L"kiosk.exe");
        machine.setRegistryText(shells, L"KSD_SHELL", L"KIOSK.exe");
        machine.setRegistryText(shells, L"ADMIN_SHELL", L"explorer.exe");
        machine.installProgram(L"C:\\Explorer.exe", [] { return 0; });  // in the current directory
    }
    void beAdministrator() { machine.setUser(L"ann", {L"Administrators"}); }
    std::vector<std::wstring> startedCommands() const {
        std::vector<std::wstring> commands;
        for (const simulation::StartedProcess& child : machine.startedProcesses()) {
            commands.push_back(child.commandLine);
        }
        return commands;
    }
    std::wstring shell() const {
        return machine.registryValue(platform::RegistryRoot::localMachine, winLogon, L"Shell")->text;
    }
};

TEST_F(KioskMachine, AdministratorGetsADesktopInsteadOfThePlatform) {
    beAdministrator();
    EXPECT_STARTED(launch());
    EXPECT_EQ(startedCommands(), std::vector<std::wstring>{L"Explorer.exe"});
    EXPECT_EQ(shell(), L"KIOSK.exe");
    EXPECT_FALSE(machine.exists(inWorkspace(L".zel.main")));
    machine.addProcess(L"explorer.exe");
    EXPECT_STARTED(launch());
    EXPECT_EQ(startedCommands().size(), 2U);
}

TEST_F(KioskMachine, PlatformStartsForUsersAndBesideADesktop) {
    EXPECT_STARTED(launch());
    closePlatform();
    beAdministrator();
    machine.addProcess(L"EXPLORER.EXE");
    EXPECT_STARTED(launch());
    EXPECT_EQ(shell(), L"kiosk.exe");
    for (const std::wstring& command : startedCommands()) {
        EXPECT_TRUE(contains(command, L"eclipse.exe"));
    }
    EXPECT_EQ(startedCommands().size(), 2U);
}

// The first value's size is the room for the second one, which is therefore not read.
TEST_F(KioskMachine, LogonShellOfNoBytesDoesNotEndTheStart) {
    machine.setRegistryBytes(platform::RegistryRoot::localMachine, winLogon, L"Shell", "");
    EXPECT_STARTED(launch({L"-debug"}));
    EXPECT_TRUE(contains(logAt(firstDebugLog),
                         "\nZLNCH0134E: Error reading HKLM\\Software\\Microsoft\\Windows "
                         "NT\\CurrentVersion\\WinLogon\\Shell: rc = 234\n"));
    EXPECT_TRUE(contains(command(), L"eclipse.exe"));
}

TEST_F(KioskMachine, MissingProcessSnapshotIsTreatedAsNoDesktop) {
    beAdministrator();
    machine.addProcess(L"Explorer.exe");
    machine.inject(failing("processSnapshot", ::platform::errorAccessDenied));
    EXPECT_STARTED(launch());
    EXPECT_EQ(startedCommands(), std::vector<std::wstring>{L"Explorer.exe"});
}

TEST_F(KioskMachine, UnreadableProcessListIsTreatedAsNoDesktop) {
    beAdministrator();
    machine.addProcess(L"Explorer.exe");
    machine.inject(failing("firstProcess", ::platform::errorAccessDenied));
    EXPECT_STARTED(launch());
    EXPECT_EQ(startedCommands(), std::vector<std::wstring>{L"Explorer.exe"});
}

TEST_F(KioskMachine, UnknownUserIsNoAdministrator) {
    beAdministrator();
    machine.inject(failing("currentUserName", ::platform::errorAccessDenied));
    EXPECT_STARTED(launch({L"-debug"}));
    EXPECT_TRUE(contains(logAt(firstDebugLog), "ZLNCH0130E: ERROR calling GetUserName\n"));
    EXPECT_EQ(shell(), L"kiosk.exe");
}

TEST_F(KioskMachine, EntryQueriesGroupsOnlyOnAKiosk) {
    machine.setRegistryText(winLogon, L"Shell", L"explorer.exe");
    EXPECT_STARTED(launch());
    EXPECT_EQ(std::count_if(machine.operations().begin(), machine.operations().end(),
                            [](const simulation::Operation& operation) {
                                return operation.name == "localGroupsOfUser";
                            }),
              1);  // when it decides whether to supervise the platform
}

// The launcher supervises the platform of a user who is no administrator.
class LockedDesktop : public Story {
protected:
    LockedDesktop() {
        launcherProperties.set("install.configuration", "lockdown");
        platform.livesMilliseconds = 20000;
    }
    void writeExitData(const std::string& text) { machine.writeFile(L"C:\\Users\\ann\\.exitData", text); }
};

TEST_F(LockedDesktop, LogoffInExitDataEndsTheSession) {
    layOut();
    writeExitData("LOGOFF\r\n");
    EXPECT_STARTED(launch());
    EXPECT_EQ(machine.startedProcesses().size(), 1U);
    ASSERT_EQ(machine.sessionEnds().size(), 1U);
    EXPECT_EQ(machine.sessionEnds()[0].how, 4U);
    EXPECT_GE(machine.elapsedMilliseconds(), platform.livesMilliseconds);
}

TEST_F(LockedDesktop, CrashedPlatformIsRestartedWithTheSameCommand) {
    platform.exitCode = 3;
    const simulation::ProcessId supervisor = begin({L"hello"});
    machine.runUntilIdle(90000);
    EXPECT_TRUE(machine.isRunning(supervisor));
    const auto& started = machine.startedProcesses();
    ASSERT_GE(started.size(), 4U);
    for (const simulation::StartedProcess& child : started) {
        EXPECT_EQ(child.commandLine, started[0].commandLine);
        EXPECT_EQ(child.parent, supervisor);
    }
    platform.exitCode = 23;  // ends the supervision
    EXPECT_STARTED(machine.waitFor(supervisor));
}

TEST_F(LockedDesktop, LaterStartReachesTheSupervisedPlatform) {
    platform.exitCode = 3;
    const simulation::ProcessId supervisor = begin({L"hello"});
    machine.runUntilIdle(5000);
    EXPECT_STARTED(launch({L"second"}));
    ASSERT_EQ(payloads().size(), 1U);
    machine.runUntilIdle(25000);  // the platform has crashed and been restarted with another process id
    EXPECT_STARTED(launch({L"third"}));
    ASSERT_EQ(payloads().size(), 2U);
    EXPECT_TRUE(contains(payloads()[1], L"\nthird\n"));
    platform.exitCode = 23;
    EXPECT_STARTED(machine.waitFor(supervisor));
}

TEST_F(LockedDesktop, WaitOptionIsIgnored) {
    platform.exitCode = 24;
    EXPECT_STARTED(launch({L"-zelLauncherWait"}));
    EXPECT_EQ(machine.debuggerTexts().size(), 1U);
}

TEST_F(LockedDesktop, AdministratorIsNotSupervised) {
    machine.setUser(L"ann", {L"Administrators"});
    EXPECT_STARTED(launch());
    EXPECT_LT(machine.elapsedMilliseconds(), platform.livesMilliseconds);
    EXPECT_TRUE(machine.debuggerTexts().empty());
}

// The platform restarts itself through another launcher, which finds the old platform gone.
TEST_F(LockedDesktop, RestartThroughALauncherStaysSupervised) {
    platform.exitCode = 24;
    const simulation::ProcessId supervisor = begin({L"hello"});
    machine.runUntilIdle(19000);
    const std::wstring old = std::to_wstring(machine.startedProcesses()[0].id);
    const simulation::ProcessId second = begin({L"-restart", L"-zel_old_pid", old});
    machine.runUntilIdle(10000);
    EXPECT_TRUE(machine.isRunning(supervisor));
    EXPECT_TRUE(machine.isRunning(second));  // both supervise the new platform
    EXPECT_EQ(machine.startedProcesses().size(), 2U);
    EXPECT_STARTED(machine.waitFor(second));
    EXPECT_STARTED(machine.waitFor(supervisor));
    EXPECT_EQ(machine.startedProcesses().size(), 2U);
}

// Both launchers see the crash. The one that comes second ends.
TEST_F(LockedDesktop, OneOfTwoSupervisorsStartsACrashedPlatformAgain) {
    platform.exitCode = 24;
    const simulation::ProcessId supervisor = begin({L"-debug"});
    machine.runUntilIdle(19000);
    const std::wstring old = std::to_wstring(machine.startedProcesses()[0].id);
    platform.exitCode = 3;
    const simulation::ProcessId second = begin({L"-restart", L"-zel_old_pid", old});
    machine.runUntilIdle(10000);
    platform.exitCode = 23;
    machine.runUntilIdle(20000);
    EXPECT_EQ(machine.startedProcesses().size(), 3U);
    EXPECT_NE(machine.isRunning(supervisor), machine.isRunning(second));
    EXPECT_TRUE(contains(logAt(firstDebugLog), "ZELLauncher> another launcher has started a platform"));
    EXPECT_STARTED(machine.waitFor(second));
    EXPECT_STARTED(machine.waitFor(supervisor));
    EXPECT_EQ(machine.startedProcesses().size(), 3U);
}

TEST_F(LockedDesktop, PlatformThatNeverPublishesIsStartedAgainEvery15Seconds) {
    platform.exitCode = 3;
    platform.livesMilliseconds = 0;
    const simulation::ProcessId supervisor = begin();
    machine.runUntilIdle(1000);
    platform.publishes = false;
    machine.runUntilIdle(60000);
    EXPECT_EQ(machine.startedProcesses().size(), 5U);
    EXPECT_TRUE(machine.exists(inWorkspace(L".pipe.crashed")));
    platform.exitCode = 23;
    EXPECT_STARTED(machine.waitFor(supervisor));
}

}  // namespace
