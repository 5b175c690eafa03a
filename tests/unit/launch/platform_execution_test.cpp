#include "launch/platform_execution.h"

#include <gtest/gtest.h>

#include <string>

#include "configuration/install_configuration.h"
#include "instance/platform_lock.h"
#include "launch/launch_state.h"
#include "platform/clock.h"
#include "platform/streams.h"
#include "support/launcher_fixture.h"

namespace {

using launchertest::Outcome;

constexpr const wchar_t* workspace = L"C:\\ws";
constexpr const wchar_t* platformProgram = L"C:\\p\\eclipse.exe";

// The launcher holds the lock of C:\ws and has a command ready.
class PlatformExecution : public launchertest::OnMachine {
protected:
    std::uint32_t platformLives = 10000;
    int platformExitCode = 0;
    bool platformPublishes = true;

    PlatformExecution() {
        machine.makeDirectory(workspace);
        machine.installProgram(platformProgram, [this] {
            if (platformPublishes) {
                platform::Stream* endpoint = platform::openStream(L"C:\\ws\\.pipe", "w");
                platform::closeStream(endpoint);
            }
            platform::sleepMilliseconds(platformLives);
            return platformExitCode;
        });
    }

    Outcome execute(
        const std::wstring& command, const std::function<void()>& prepare = [] {}) {
        return runQuietly([&] {
            zellauncher::acquirePlatformLock({L"prog"}, workspace, L"eclipse.exe");
            prepare();
            zellauncher::handOffOrExecute(command);
            returnedAfter = machine.elapsedMilliseconds();
        });
    }

    void beLockdownUser() {
        if (platformExitCode == 0) {
            platformExitCode = 23;  // a restart that never comes ends the supervision
        }
        machine.setUser(L"ann", {L"Users"});
        zellauncher::readInstallConfiguration({{L"install.configuration", L"lockdown"}}, false);
    }

    std::uint64_t returnedAfter = 0;
};

TEST_F(PlatformExecution, StartsThePlatformPublishesItAndReturnsAtOnce) {
    const Outcome outcome = execute(L"\"C:\\p\\eclipse.exe\" -x");
    EXPECT_EQ(outcome.end.status, 0U);
    ASSERT_EQ(machine.startedProcesses().size(), 1U);
    const simulation::StartedProcess& child = machine.startedProcesses()[0];
    EXPECT_EQ(child.commandLine, L"\"C:\\p\\eclipse.exe\" -x");
    EXPECT_EQ(child.start.flags, 0U);
    EXPECT_FALSE(child.start.title.has_value());
    EXPECT_EQ(machine.readFile(L"C:\\ws\\.zel.lock"), std::to_string(child.id) + std::string(10, ' '));
    EXPECT_EQ(machine.readFile(L"C:\\ws\\.zel.main"), std::to_string(child.id) + std::string(5, ' '));
    EXPECT_LT(returnedAfter, platformLives);
    EXPECT_TRUE(machine.isRunning(child.id));
}

TEST_F(PlatformExecution, TheCommandStandsInEveryLog) {
    const Outcome outcome = execute(L"\"C:\\p\\eclipse.exe\" -x");
    EXPECT_TRUE(outcome.logHas("ZLNCH0072I: Command = '\"C:\\p\\eclipse.exe\" -x'")) << outcome.log;
}

TEST_F(PlatformExecution, AVeryLongCommandStartsWithoutItsLine) {
    const std::wstring command = L"\"C:\\p\\eclipse.exe\" " + std::wstring(5000, L'x');
    const Outcome outcome = execute(command);
    EXPECT_EQ(outcome.end.status, 0U);
    EXPECT_EQ(machine.startedProcesses().at(0).commandLine, command);
    EXPECT_EQ(outcome.log.find("ZLNCH0072I"), std::string::npos);
}

TEST_F(PlatformExecution, TheIdentityAndPinningAreIndependent) {
    execute(L"\"C:\\p\\eclipse.exe\"", [] {
        zellauncher::useAppUserModelId = true;
        zellauncher::preventPinning = true;
        zellauncher::appUserModelId = L"my.id";
    });
    EXPECT_EQ(machine.startedProcesses().at(0).start.flags, 0x3000U);
    EXPECT_EQ(machine.startedProcesses().at(0).start.title, L"my.id");

    machine.remove(L"C:\\ws\\.pipe");
    execute(L"\"C:\\p\\eclipse.exe\"", [] { zellauncher::preventPinning = true; });
    EXPECT_EQ(machine.startedProcesses().at(1).start.flags, 0x2000U);
    EXPECT_FALSE(machine.startedProcesses().at(1).start.title.has_value());

    execute(L"\"C:\\p\\eclipse.exe\"", [] {
        zellauncher::useAppUserModelId = true;
        zellauncher::appUserModelId = L"my.id";
    });
    EXPECT_EQ(machine.startedProcesses().at(2).start.flags, 0x1000U);
}

TEST_F(PlatformExecution, WaitsForThePlatformWhenAskedAndReleasesTheLockBefore) {
    const Outcome outcome = execute(L"\"C:\\p\\eclipse.exe\"", [] { zellauncher::waitForPlatform = true; });
    EXPECT_EQ(outcome.end.status, 0U);
    EXPECT_GE(returnedAfter, platformLives);
    EXPECT_LE(returnedAfter, platformLives + 1100);
    EXPECT_NE(outcome.log.find("ZLNCH0306I: lock file released @ 20260131_235900_"), std::string::npos)
        << outcome.log;
}

TEST_F(PlatformExecution, APlatformThatEndsAtOnceIsNotWaitedFor) {
    platformLives = 0;
    execute(L"\"C:\\p\\eclipse.exe\"", [] { zellauncher::waitForPlatform = true; });
    EXPECT_LE(returnedAfter, 1000U);
}

TEST_F(PlatformExecution, TheExitCodeOfThePlatformIsNotTheLaunchers) {
    platformLives = 0;
    platformExitCode = 7;
    EXPECT_EQ(execute(L"\"C:\\p\\eclipse.exe\"", [] { zellauncher::waitForPlatform = true; }).end.status, 0U);
}

TEST_F(PlatformExecution, HoldsTheLockUntilThePlatformIsPublishedAtMost15Seconds) {
    platformPublishes = false;
    platformLives = 100000;
    execute(L"\"C:\\p\\eclipse.exe\"");
    EXPECT_EQ(returnedAfter, 15000U);
}

TEST_F(PlatformExecution, AMissingProgramIsReportedAndTheLockReleased) {
    const Outcome outcome = execute(L"\"C:\\p\\gone.exe\" -x");
    EXPECT_TRUE(outcome.isFatal());
    EXPECT_NE(outcome.log.find("CreateProcessW failed with error 2: "), std::string::npos) << outcome.log;
    EXPECT_TRUE(outcome.logHas("ZELLauncher> the program file that the command names is missing"));
    EXPECT_NE(outcome.log.find("ZLNCH0306I: lock file released @ "), std::string::npos);
    EXPECT_EQ(machine.readFile(L"C:\\ws\\.zel.lock"), "");
    EXPECT_FALSE(machine.exists(L"C:\\ws\\.zel.main"));
    EXPECT_EQ(machine.elapsedMilliseconds(), 0U);
}

TEST_F(PlatformExecution, AMissingDirectoryIsAMissingProgram) {
    const Outcome outcome = execute(L"\"C:\\gone\\eclipse.exe\"");
    EXPECT_TRUE(outcome.isFatal());
    EXPECT_NE(outcome.log.find("CreateProcessW failed with error 3: "), std::string::npos) << outcome.log;
    EXPECT_TRUE(outcome.logHas("ZELLauncher> the program file that the command names is missing"));
}

TEST_F(PlatformExecution, ATooLongCommandIsReportedAsSuch) {
    const Outcome outcome = execute(L"\"C:\\p\\eclipse.exe\" " + std::wstring(32766 - 18, L'x'));
    EXPECT_TRUE(outcome.isFatal());
    EXPECT_TRUE(outcome.logHas(
        "ZELLauncher> the command is longer than the 32766 characters that the system can start"));
    EXPECT_EQ(execute(L"\"C:\\p\\eclipse.exe\" " + std::wstring(32766 - 19, L'x')).end.status, 0U);
}

TEST_F(PlatformExecution, ACommandWithoutAProgramStartsNothing) {
    const Outcome outcome = execute(std::wstring(1, L'\0') + L" C:\\p\\eclipse.exe");
    EXPECT_TRUE(outcome.isFatal());
    EXPECT_TRUE(outcome.logHas(
        "ZELLauncher> the command names no program: neither -vm nor the vm property is given"));
    for (const simulation::StartedProcess& child : machine.startedProcesses()) {
        EXPECT_FALSE(child.started);
    }
}

TEST_F(PlatformExecution, AFileThatIsNoProgramIsReportedWithTheSystemsReason) {
    machine.writeFile(L"C:\\p\\text.exe", "no program");
    const Outcome outcome = execute(L"\"C:\\p\\text.exe\"");
    EXPECT_TRUE(outcome.isFatal());
    EXPECT_NE(outcome.log.find("CreateProcessW failed with error 193: "), std::string::npos) << outcome.log;
}

TEST_F(PlatformExecution, AnAdministratorOnALockdownInstallIsNotSupervised) {
    const Outcome outcome = execute(L"\"C:\\p\\eclipse.exe\"", [this] {
        beLockdownUser();
        machine.setUser(L"ann", {L"Administrators"});
    });
    EXPECT_EQ(outcome.end.status, 0U);
    EXPECT_LT(returnedAfter, platformLives);
}

TEST_F(PlatformExecution, AUserOnALockdownInstallIsSupervisedEvenWithTheWaitOption) {
    execute(L"\"C:\\p\\eclipse.exe\"", [this] {
        beLockdownUser();
        zellauncher::waitForPlatform = true;
    });
    EXPECT_GE(machine.elapsedMilliseconds(), platformLives);
    EXPECT_EQ(machine.debuggerTexts(), std::vector<std::wstring>{L"Inside HandleTermination..."});
    EXPECT_EQ(machine.startedProcesses().size(), 1U);
}

TEST_F(PlatformExecution, ASupervisingLauncherHidesItsConsole) {
    machine.setConsole(L"mine");
    execute(L"\"C:\\p\\eclipse.exe\"", [this] { beLockdownUser(); });
    EXPECT_TRUE(machine.isConsoleHidden());
}

TEST_F(PlatformExecution, AnyOtherLauncherLeavesItsConsole) {
    machine.setConsole(L"mine");
    execute(L"\"C:\\p\\eclipse.exe\"", [] { zellauncher::waitForPlatform = true; });
    EXPECT_FALSE(machine.isConsoleHidden());
}

TEST_F(PlatformExecution, WhoseGroupsCannotBeReadIsSupervisedOnALockdownInstall) {
    simulation::Fault fault;
    fault.operation = "localGroupsOfUser";
    machine.inject(fault);
    const Outcome outcome = execute(L"\"C:\\p\\eclipse.exe\"", [this] {
        beLockdownUser();
        machine.setUser(L"ann", {L"Administrators"});
    });
    EXPECT_GE(machine.elapsedMilliseconds(), platformLives);
}

TEST_F(PlatformExecution, APlatformThatEndsWith259LooksAsIfItStillRan) {
    platformLives = 1000;
    platformExitCode = 259;
    const simulation::ProcessId launcher = machine.start({L"C:\\zel\\zellauncher.exe"}, [this] {
        zellauncher::acquirePlatformLock({L"prog"}, workspace, L"eclipse.exe");
        beLockdownUser();
        zellauncher::handOffOrExecute(L"\"C:\\p\\eclipse.exe\"");
        return 0;
    });
    machine.runUntilIdle(600000);
    EXPECT_TRUE(machine.isRunning(launcher));
}

TEST_F(PlatformExecution, ASupervisedPlatformWhoseCodeCannotBeHadIsAskedAgain) {
    simulation::Fault fault;
    fault.operation = "processExitCode";
    machine.inject(fault);
    execute(L"\"C:\\p\\eclipse.exe\"", [this] { beLockdownUser(); });
    EXPECT_EQ(machine.startedProcesses().size(), 1U);
    EXPECT_GE(machine.elapsedMilliseconds(), platformLives);
}

TEST_F(PlatformExecution, AFailureToReadTheUsersNameIsADebugLine) {
    simulation::Fault fault;
    fault.operation = "currentUserName";
    machine.inject(fault);
    const Outcome outcome = run([&] {
        zellauncher::acquirePlatformLock({L"prog"}, workspace, L"eclipse.exe");
        zellauncher::handOffOrExecute(L"\"C:\\p\\eclipse.exe\"");
    });
    EXPECT_EQ(outcome.end.status, 0U);
    EXPECT_TRUE(outcome.logHas("ZLNCH0056E: ERROR calling GetUserName"));
}

TEST_F(PlatformExecution, ARerunStartsTheCommandOfTheProcess) {
    runQuietly([&] {
        zellauncher::acquirePlatformLock({L"prog"}, workspace, L"eclipse.exe");
        zellauncher::launchCommand = L"\"C:\\p\\eclipse.exe\" -again";
        zellauncher::rerunCommand();
    });
    ASSERT_EQ(machine.startedProcesses().size(), 1U);
    EXPECT_EQ(machine.startedProcesses()[0].commandLine, L"\"C:\\p\\eclipse.exe\" -again");
}

TEST_F(PlatformExecution, ADaemonStartsNothing) {
    const Outcome outcome = runQuietly([&] {
        zellauncher::isMainProcess = false;
        zellauncher::handOffOrExecute(L"C:\\p\\eclipse.exe\n-x");
    });
    EXPECT_TRUE(outcome.isFatal());
    EXPECT_TRUE(machine.startedProcesses().empty());
}

}  // namespace
