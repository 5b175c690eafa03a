#include <gtest/gtest.h>

#include <algorithm>

#include "scenarios/story.h"

namespace {

using scenarios::Story;

constexpr const wchar_t* winLogon = L"Software\\Microsoft\\Windows NT\\CurrentVersion\\WinLogon";
constexpr const wchar_t* shells = L"Software\\Microsoft\\Windows NT\\CurrentVersion\\WinLogon\\KSDShells";

// A machine whose logon shell is the kiosk's.
class KioskMachine : public Story {
protected:
    KioskMachine() {
        machine.setRegistryText(winLogon, L"Shell", L"kiosk.exe");
        machine.setRegistryText(shells, L"KSD_SHELL", L"KIOSK.exe");
        machine.setRegistryText(shells, L"ADMIN_SHELL", L"explorer.exe");
        machine.installProgram(L"C:\\Explorer.exe", [] { return 0; });  // the current directory's
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

TEST_F(KioskMachine, AnAdministratorWithoutADesktopGetsOneInPlaceOfThePlatform) {
    beAdministrator();
    EXPECT_STARTED(launch());
    EXPECT_EQ(startedCommands(), std::vector<std::wstring>{L"Explorer.exe"});
    EXPECT_EQ(shell(), L"KIOSK.exe");
    EXPECT_FALSE(machine.exists(inWorkspace(L".zel.main")));
    // The lock went with the process: the next start has it at once.
    machine.addProcess(L"explorer.exe");
    EXPECT_STARTED(launch());
    EXPECT_EQ(startedCommands().size(), 2U);
}

TEST_F(KioskMachine, WithADesktopOrForAnotherUserThePlatformStarts) {
    EXPECT_STARTED(launch());
    closePlatform();
    beAdministrator();
    machine.addProcess(L"EXPLORER.EXE");
    EXPECT_STARTED(launch());
    EXPECT_EQ(shell(), L"kiosk.exe");
    for (const std::wstring& command : startedCommands()) {
        EXPECT_NE(command.find(L"eclipse.exe"), std::wstring::npos);
    }
    EXPECT_EQ(startedCommands().size(), 2U);
}

TEST_F(KioskMachine, AnAdministratorWhoseProcessesCannotBeListedGetsADesktop) {
    beAdministrator();
    machine.addProcess(L"Explorer.exe");
    simulation::Fault fault;
    fault.operation = "processSnapshot";
    machine.inject(fault);
    EXPECT_STARTED(launch());
    EXPECT_EQ(startedCommands(), std::vector<std::wstring>{L"Explorer.exe"});
}

TEST_F(KioskMachine, AListThatCannotBeWalkedNamesNoDesktop) {
    beAdministrator();
    machine.addProcess(L"Explorer.exe");
    simulation::Fault fault;
    fault.operation = "firstProcess";
    machine.inject(fault);
    EXPECT_STARTED(launch());
    EXPECT_EQ(startedCommands(), std::vector<std::wstring>{L"Explorer.exe"});
}

TEST_F(KioskMachine, AUserWithoutANameIsNoAdministrator) {
    beAdministrator();
    simulation::Fault fault;
    fault.operation = "currentUserName";
    machine.inject(fault);
    EXPECT_STARTED(launch({L"-debug"}));
    const std::string debugLog = logAt(inWorkspace(L"logs\\zellauncher_20260131_235900_000.log"));
    EXPECT_NE(debugLog.find("ZLNCH0130E: ERROR calling GetUserName\n"), std::string::npos);
    EXPECT_EQ(shell(), L"kiosk.exe");
}

TEST_F(KioskMachine, ElsewhereTheUsersRightsAreNotLookedAtByTheEntry) {
    machine.setRegistryText(winLogon, L"Shell", L"explorer.exe");
    EXPECT_STARTED(launch());
    EXPECT_EQ(std::count_if(machine.operations().begin(), machine.operations().end(),
                            [](const simulation::Operation& operation) {
                                return operation.name == "localGroupsOfUser";
                            }),
              1);  // the one before the platform starts
}

// A desktop that the launcher does not leave without its platform.
class LockedDesktop : public Story {
protected:
    LockedDesktop() {
        launcherProperties.set("install.configuration", "lockdown");
        platform.livesMilliseconds = 20000;
    }
    void write(const std::string& word) { machine.writeFile(L"C:\\Users\\ann\\.exitData", word); }
};

TEST_F(LockedDesktop, APlatformThatAsksForItLogsTheUserOff) {
    layOut();
    write("LOGOFF\r\n");
    EXPECT_STARTED(launch());
    EXPECT_EQ(machine.startedProcesses().size(), 1U);
    ASSERT_EQ(machine.sessionEnds().size(), 1U);
    EXPECT_EQ(machine.sessionEnds()[0].how, 4U);
    EXPECT_GE(machine.elapsedMilliseconds(), platform.livesMilliseconds);
}

TEST_F(LockedDesktop, APlatformThatCrashesIsStartedAgainWithTheSameWords) {
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
    platform.exitCode = 23;  // which nobody follows
    EXPECT_STARTED(machine.waitFor(supervisor));
}

TEST_F(LockedDesktop, AFurtherStartReachesTheSupervisedPlatform) {
    platform.exitCode = 3;
    const simulation::ProcessId supervisor = begin({L"hello"});
    machine.runUntilIdle(5000);
    EXPECT_STARTED(launch({L"second"}));
    ASSERT_EQ(payloads().size(), 1U);
    machine.runUntilIdle(25000);  // the platform has crashed and runs again, under another number
    EXPECT_STARTED(launch({L"third"}));
    ASSERT_EQ(payloads().size(), 2U);
    EXPECT_NE(payloads()[1].find(L"\nthird\n"), std::wstring::npos);
    platform.exitCode = 23;
    EXPECT_STARTED(machine.waitFor(supervisor));
}

TEST_F(LockedDesktop, TheWaitOptionIsNotLookedAt) {
    platform.exitCode = 24;
    EXPECT_STARTED(launch({L"-zelLauncherWait"}));
    EXPECT_EQ(machine.debuggerTexts().size(), 1U);
}

TEST_F(LockedDesktop, AnAdministratorIsNotSupervised) {
    machine.setUser(L"ann", {L"Administrators"});
    EXPECT_STARTED(launch());
    EXPECT_LT(machine.elapsedMilliseconds(), platform.livesMilliseconds);
    EXPECT_TRUE(machine.debuggerTexts().empty());
}

// The platform restarts by itself through a launcher of its own, which finds the old one gone.
TEST_F(LockedDesktop, ARestartThroughALauncherGoesOnBeingWatched) {
    platform.exitCode = 24;
    const simulation::ProcessId supervisor = begin({L"hello"});
    machine.runUntilIdle(19000);
    const std::wstring old = std::to_wstring(machine.startedProcesses()[0].id);
    const simulation::ProcessId second = begin({L"-restart", L"-zel_old_pid", old});
    machine.runUntilIdle(10000);
    EXPECT_TRUE(machine.isRunning(supervisor));
    EXPECT_TRUE(machine.isRunning(second));  // supervises as well: both watch the new platform
    EXPECT_EQ(machine.startedProcesses().size(), 2U);
    EXPECT_STARTED(machine.waitFor(second));
    EXPECT_STARTED(machine.waitFor(supervisor));
    EXPECT_EQ(machine.startedProcesses().size(), 2U);
}

}  // namespace
