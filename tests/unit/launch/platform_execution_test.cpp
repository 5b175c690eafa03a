#include "launch/platform_execution.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "configuration/install_kind.h"
#include "desktop/application_identity.h"
#include "instance/platform_lock.h"
#include "javalaunch/jvm_executable.h"
#include "javalaunch/launch_command.h"
#include "kiosk/termination.h"
#include "platform/clock.h"
#include "platform/streams.h"
#include "support/faults.h"
#include "support/launcher_fixture.h"

namespace {

using launchertest::failing;
using launchertest::Outcome;

constexpr const wchar_t* workspace = L"C:\\ws";
constexpr const wchar_t* platformProgram = L"C:\\p\\eclipse.exe";
constexpr const wchar_t* platformCommand = L"\"C:\\p\\eclipse.exe\"";

void setWaitOption() {
    zellauncher::waitForPlatform = true;
}

// The launcher holds the lock of C:\ws and runs a command.
class PlatformExecution : public launchertest::OnMachine {
protected:
    std::uint64_t returnedAfter = 0;
    std::uint32_t lifeMilliseconds = 10000;
    int platformExitCode = 0;
    bool platformPublishes = true;

    PlatformExecution() {
        machine.makeDirectory(workspace);
        machine.installProgram(platformProgram, [this] {
            if (platformPublishes) {
                platform::closeStream(platform::openStream(L"C:\\ws\\.pipe", "w"));
            }
            platform::sleepMilliseconds(lifeMilliseconds);
            return platformExitCode;
        });
    }

    Outcome execute(
        const std::wstring& command, const std::function<void()>& prepare = [] {}) {
        return runQuietly([&] {
            zellauncher::acquirePlatformLock({L"prog"}, workspace);
            prepare();
            zellauncher::handOffOrExecute(command);
            returnedAfter = machine.elapsedMilliseconds();
        });
    }

    void beLockdownUser() {
        if (platformExitCode == 0) {
            platformExitCode = 23;  // a restart that does not happen ends the supervision
        }
        machine.setUser(L"ann", {L"Users"});
        zellauncher::readInstallConfiguration({{L"install.configuration", L"lockdown"}});
    }
};

TEST_F(PlatformExecution, PlatformIsStartedAndPublishedWithoutWaiting) {
    const Outcome outcome = execute(L"\"C:\\p\\eclipse.exe\" -x");
    EXPECT_EQ(outcome.processEnd().status, 0U);
    ASSERT_EQ(machine.startedProcesses().size(), 1U);
    const simulation::StartedProcess& child = machine.startedProcesses()[0];
    EXPECT_EQ(child.commandLine, L"\"C:\\p\\eclipse.exe\" -x");
    EXPECT_EQ(child.start.flags, 0U);
    EXPECT_FALSE(child.start.title.has_value());
    EXPECT_EQ(machine.readFile(L"C:\\ws\\.zel.lock"), std::to_string(child.id) + std::string(10, ' '));
    EXPECT_EQ(machine.readFile(L"C:\\ws\\.zel.main"), std::to_string(child.id) + std::string(5, ' '));
    EXPECT_LT(returnedAfter, lifeMilliseconds);
    EXPECT_TRUE(machine.isRunning(child.id));
}

TEST_F(PlatformExecution, CommandIsLoggedWithoutTheDebugFlag) {
    const Outcome outcome = execute(L"\"C:\\p\\eclipse.exe\" -x");
    EXPECT_TRUE(outcome.logHas("ZLNCH0072I: Command = '\"C:\\p\\eclipse.exe\" -x'")) << outcome.log;
}

TEST_F(PlatformExecution, VeryLongCommandIsNotLogged) {
    const std::wstring command = platformCommand + std::wstring(5000, L' ');
    const Outcome outcome = execute(command);
    EXPECT_EQ(outcome.processEnd().status, 0U);
    EXPECT_EQ(machine.startedProcesses().at(0).commandLine, command);
    EXPECT_EQ(outcome.log.find("ZLNCH0072I"), std::string::npos);
}

TEST_F(PlatformExecution, AppIdAndPinningAreIndependent) {
    execute(platformCommand, [] {
        zellauncher::useAppUserModelId = true;
        zellauncher::preventPinning = true;
        zellauncher::appUserModelId = L"my.id";
    });
    EXPECT_EQ(machine.startedProcesses().at(0).start.flags, 0x3000U);
    EXPECT_EQ(machine.startedProcesses().at(0).start.title, L"my.id");

    machine.remove(L"C:\\ws\\.pipe");
    execute(platformCommand, [] { zellauncher::preventPinning = true; });
    EXPECT_EQ(machine.startedProcesses().at(1).start.flags, 0x2000U);
    EXPECT_FALSE(machine.startedProcesses().at(1).start.title.has_value());

    execute(platformCommand, [] {
        zellauncher::useAppUserModelId = true;
        zellauncher::appUserModelId = L"my.id";
    });
    EXPECT_EQ(machine.startedProcesses().at(2).start.flags, 0x1000U);
}

TEST_F(PlatformExecution, WaitOptionReleasesTheLockAndWaits) {
    lifeMilliseconds = 5030;
    const Outcome outcome = execute(platformCommand, setWaitOption);
    EXPECT_EQ(outcome.processEnd().status, 0U);
    EXPECT_EQ(returnedAfter, 5100U);  // asked every tenth of a second
    EXPECT_NE(outcome.log.find("ZLNCH0306I: lock file released @ 20260131_235900_"), std::string::npos)
        << outcome.log;
}

TEST_F(PlatformExecution, WaitEndsSoonAfterThePlatform) {
    lifeMilliseconds = 0;
    execute(platformCommand, setWaitOption);
    EXPECT_LE(returnedAfter, 1000U);
}

TEST_F(PlatformExecution, ExitCodeOfThePlatformIsIgnored) {
    lifeMilliseconds = 0;
    platformExitCode = 7;
    EXPECT_EQ(execute(platformCommand, setWaitOption).processEnd().status, 0U);
}

TEST_F(PlatformExecution, MissingPipeFileIsWaitedFor15Seconds) {
    platformPublishes = false;
    lifeMilliseconds = 100000;
    execute(platformCommand);
    EXPECT_EQ(returnedAfter, 15000U);
}

TEST_F(PlatformExecution, MissingProgramIsFatalAndTheLockReleased) {
    const Outcome outcome = execute(L"\"C:\\p\\gone.exe\" -x");
    EXPECT_TRUE(outcome.isFatal());
    EXPECT_NE(outcome.log.find("ZLNCH0306I: lock file released @ "), std::string::npos);
    EXPECT_EQ(machine.readFile(L"C:\\ws\\.zel.lock"), "");
    EXPECT_EQ(machine.elapsedMilliseconds(), 0U);
}

// The command ends at its first NUL.
TEST_F(PlatformExecution, CommandWithoutAProgramStartsNothing) {
    const Outcome outcome = execute(std::wstring(1, L'\0') + L" C:\\p\\eclipse.exe");
    EXPECT_TRUE(outcome.isFatal());
    EXPECT_TRUE(outcome.logHas(
        "ZELLauncher> the command names no program: neither -vm nor the vm property is given"));
    for (const simulation::StartedProcess& child : machine.startedProcesses()) {
        EXPECT_FALSE(child.started);
    }
}

TEST_F(PlatformExecution, AdministratorIsNotSupervised) {
    const Outcome outcome = execute(platformCommand, [this] {
        beLockdownUser();
        machine.setUser(L"ann", {L"Administrators"});
    });
    EXPECT_EQ(outcome.processEnd().status, 0U);
    EXPECT_LT(returnedAfter, lifeMilliseconds);
}

TEST_F(PlatformExecution, UserIsSupervisedDespiteTheWaitOption) {
    execute(platformCommand, [this] {
        beLockdownUser();
        zellauncher::waitForPlatform = true;
    });
    EXPECT_GE(machine.elapsedMilliseconds(), lifeMilliseconds);
    EXPECT_EQ(machine.debuggerTexts(), std::vector<std::wstring>{L"Inside HandleTermination..."});
    EXPECT_EQ(machine.startedProcesses().size(), 1U);
}

TEST_F(PlatformExecution, SupervisingLauncherHidesItsConsole) {
    machine.setConsole(L"mine");
    execute(platformCommand, [this] { beLockdownUser(); });
    EXPECT_TRUE(machine.isConsoleHidden());
}

TEST_F(PlatformExecution, OtherLauncherKeepsItsConsole) {
    machine.setConsole(L"mine");
    execute(platformCommand, setWaitOption);
    EXPECT_FALSE(machine.isConsoleHidden());
}

TEST_F(PlatformExecution, UserWithUnreadableGroupsIsSupervised) {
    machine.inject(failing("localGroupsOfUser", platform::errorAccessDenied));
    execute(platformCommand, [this] {
        beLockdownUser();
        machine.setUser(L"ann", {L"Administrators"});
    });
    EXPECT_GE(machine.elapsedMilliseconds(), lifeMilliseconds);
}

TEST_F(PlatformExecution, PlatformThatEndsWith259IsTreatedAsRunning) {
    lifeMilliseconds = 1000;
    platformExitCode = 259;
    const simulation::ProcessId launcher = machine.start({L"C:\\zel\\zellauncher.exe"}, [this] {
        zellauncher::acquirePlatformLock({L"prog"}, workspace);
        beLockdownUser();
        zellauncher::handOffOrExecute(platformCommand);
        return 0;
    });
    machine.runUntilIdle(600000);
    EXPECT_TRUE(machine.isRunning(launcher));
}

TEST_F(PlatformExecution, UnreadableExitCodeIsReadAgain) {
    machine.inject(failing("processExitCode", platform::errorAccessDenied));
    execute(platformCommand, [this] { beLockdownUser(); });
    EXPECT_EQ(machine.startedProcesses().size(), 1U);
    EXPECT_GE(machine.elapsedMilliseconds(), lifeMilliseconds);
}

TEST_F(PlatformExecution, UnreadableUserNameIsADebugLine) {
    machine.inject(failing("currentUserName", platform::errorAccessDenied));
    const Outcome outcome = run([&] {
        zellauncher::acquirePlatformLock({L"prog"}, workspace);
        zellauncher::handOffOrExecute(platformCommand);
    });
    EXPECT_EQ(outcome.processEnd().status, 0U);
    EXPECT_TRUE(outcome.logHas("ZLNCH0056E: ERROR calling GetUserName"));
}

TEST_F(PlatformExecution, UserNameMayHave32766Characters) {
    for (const std::size_t length : {32766U, 32767U}) {
        machine.setUser(std::wstring(length, L'u'), {L"Administrators"});
        const Outcome outcome = run([&] {
            zellauncher::acquirePlatformLock({L"prog"}, workspace);
            zellauncher::handOffOrExecute(platformCommand);
        });
        EXPECT_EQ(outcome.linesBeginningWith("ZLNCH0056E"), length == 32766U ? 0U : 1U);
        machine.runUntilIdle(120000);
    }
}

// The command is logged in every run, what follows only with the debug flag.
TEST_F(PlatformExecution, LoggingTheCommandLeavesTheDebugFlagAlone) {
    machine.inject(failing("currentUserName", platform::errorAccessDenied));
    const Outcome outcome = execute(platformCommand);
    EXPECT_EQ(outcome.linesBeginningWith("ZLNCH0072I"), 1U);
    EXPECT_EQ(outcome.linesBeginningWith("ZLNCH0056E"), 0U);
}

TEST_F(PlatformExecution, RerunStartsLaunchCommand) {
    runQuietly([&] {
        zellauncher::acquirePlatformLock({L"prog"}, workspace);
        zellauncher::releasePlatformLock();
        zellauncher::launchCommand = L"\"C:\\p\\eclipse.exe\" -again";
        zellauncher::rerunCommand();
    });
    ASSERT_EQ(machine.startedProcesses().size(), 1U);
    EXPECT_EQ(machine.startedProcesses()[0].commandLine, L"\"C:\\p\\eclipse.exe\" -again");
}

TEST_F(PlatformExecution, RerunStartsNothingBesideAnotherLaunchersPlatform) {
    const Outcome outcome = runQuietly([&] {
        zellauncher::acquirePlatformLock({L"prog"}, workspace);
        zellauncher::releasePlatformLock();
        machine.writeFile(L"C:\\ws\\.zel.lock", "815          ");
        machine.writeFile(L"C:\\ws\\.pipe", "\\\\.\\pipe\\other\r\n");
        machine.createSemaphore(L"Global\\othersem", simulation::SemaphoreAccess::granted);
        zellauncher::launchCommand = platformCommand;
        zellauncher::rerunCommand();
    });
    EXPECT_EQ(outcome.processEnd().status, 0U);
    EXPECT_TRUE(machine.startedProcesses().empty());
}

TEST_F(PlatformExecution, DaemonStartsNothing) {
    const Outcome outcome = runQuietly([&] {
        zellauncher::isMainProcess = false;
        zellauncher::handOffOrExecute(L"C:\\p\\eclipse.exe\n-x");
    });
    outcome.expectFatal(
        "ZLNCH0142E: Unable to find pipe  Failed with error 2: The system cannot find the file "
        "specified.\r\n");
    EXPECT_TRUE(machine.startedProcesses().empty());
}

}  // namespace
