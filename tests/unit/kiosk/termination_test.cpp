#include "kiosk/termination.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <deque>

#include "configuration/install_configuration.h"
#include "instance/platform_lock.h"
#include "launch/launch_state.h"
#include "launch/platform_execution.h"
#include "platform/child_processes.h"
#include "platform/clock.h"
#include "platform/process.h"
#include "platform/streams.h"
#include "support/launcher_fixture.h"

namespace {

using launchertest::Outcome;

constexpr const wchar_t* exitData = L"C:\\Users\\ann\\.exitData";
const std::string missingFile =
    "ZLNCH0026I: ExitDate file does not exists. Assume error condition. Restart workbench.";
const std::string unknownWord =
    "ZLNCH0078I: ExitDate file exists but contents were not logoff or shutdown. Restart workbench.";
const std::string unknownCode =
    "ZLNCH0027I: exit code is not 0 - assume invalid exit condition. Restart workbench.";

// How a platform ends.
struct Life {
    int exitCode = 0;
    std::optional<std::string> word;  // of the file that it writes before
    bool startsNext = false;          // restarts by itself
    std::uint32_t milliseconds = 1000;
};

// A locked-down desktop: the launcher supervises a platform that lives these lives, one after the other.
// When they are over the next one ends with 23 and starts nothing, and so ends the supervision.
class Termination : public launchertest::OnMachine {
protected:
    std::deque<Life> lives;

    Termination() {
        machine.makeDirectory(L"C:\\ws");
        machine.makeDirectory(L"C:\\Users\\ann");
        machine.installProgram(L"C:\\p\\eclipse.exe", [this] { return live(); });
    }

    int live() {
        Life life{23, {}, false, 0};
        if (!lives.empty()) {
            life = lives.front();
            lives.pop_front();
        }
        platform::closeStream(platform::openStream(L"C:\\ws\\.pipe", "w"));
        platform::sleepMilliseconds(life.milliseconds);
        if (life.word) {
            platform::Stream* file = platform::openStream(exitData, "w");
            platform::writeStream(file, *life.word);
            platform::closeStream(file);
        }
        if (life.startsNext) {
            platform::ChildProcess next;
            EXPECT_TRUE(platform::createProcess(L"C:\\p\\eclipse.exe", {}, next));
        }
        return life.exitCode;
    }

    Outcome supervise() {
        return run([] {
            zellauncher::settleExitDataPath();
            zellauncher::readInstallConfiguration({{L"install.configuration", L"lockdown"}}, false);
            zellauncher::acquirePlatformLock({L"prog"}, L"C:\\ws", L"eclipse.exe");
            zellauncher::launchCommand = L"C:\\p\\eclipse.exe -x";
            zellauncher::handOffOrExecute(zellauncher::launchCommand);
        });
    }

    std::size_t starts() const { return machine.startedProcesses().size(); }
    std::vector<std::wstring> opened(const std::wstring& leaf) const {
        std::vector<std::wstring> paths;
        for (const simulation::Operation& operation : machine.operations()) {
            if (operation.name == "openStream" && operation.argument.ends_with(leaf) &&
                operation.argument != exitData) {  // which is how the platform names it
                paths.push_back(operation.argument);
            }
        }
        return paths;
    }
    static std::size_t count(const std::string& text, const std::string& part) {
        std::size_t found = 0;
        for (std::size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1)) {
            ++found;
        }
        return found;
    }
};

TEST_F(Termination, LogoffInAnyCaseLogsTheUserOff) {
    for (const char* word : {"LOGOFF", "logoff", "LogOff\r\nSHUTDOWN\r\n", "LOGOFF\n"}) {
        lives = {{0, word, false, 1000}};
        const std::size_t before = machine.sessionEnds().size();
        const Outcome outcome = supervise();
        EXPECT_EQ(outcome.end.status, 0U);
        ASSERT_EQ(machine.sessionEnds().size(), before + 1) << word;
        EXPECT_EQ(machine.sessionEnds().back().how, 4U);
        EXPECT_EQ(machine.sessionEnds().back().reason, 0U);
        EXPECT_EQ(machine.readFile(exitData), word);  // stays, for all that it should go
    }
    EXPECT_EQ(starts(), 4U);
}

TEST_F(Termination, ShutdownShutsTheMachineDownWithThePrivilegeForIt) {
    for (const char* word : {"SHUTDOWN", "shutdown\r\n"}) {
        lives = {{0, word, false, 1000}};
        supervise();
        EXPECT_EQ(machine.sessionEnds().back().how, 5U);
        EXPECT_EQ(machine.sessionEnds().back().reason, 0x40000U);
        EXPECT_TRUE(machine.sessionEnds().back().wasPrivileged);
        EXPECT_FALSE(machine.isShutdownEnabled());
    }
    EXPECT_EQ(machine.sessionEnds().size(), 2U);
    EXPECT_EQ(starts(), 2U);
}

TEST_F(Termination, ATokenThatCannotBeOpenedIsTold) {
    lives = {{0, "SHUTDOWN", false, 1000}};
    simulation::Fault fault;
    fault.operation = "openOwnToken";
    machine.inject(fault);
    const Outcome outcome = supervise();
    EXPECT_TRUE(outcome.logHas("ZLNCH0067E: OpenProcessToken failed."));
    EXPECT_TRUE(outcome.logHas("ZLNCH0068E: AdjustTokenPrivileges enable failed."));
    ASSERT_EQ(machine.sessionEnds().size(), 1U);
    EXPECT_FALSE(machine.sessionEnds()[0].wasPrivileged);
}

TEST_F(Termination, APrivilegeThatIsNotTheUsersIsToldAndTheShutdownTried) {
    lives = {{0, "SHUTDOWN", false, 1000}};
    machine.refusePrivileges();
    const Outcome outcome = supervise();
    EXPECT_EQ(outcome.log.find("ZLNCH0067E"), std::string::npos);
    EXPECT_TRUE(outcome.logHas("ZLNCH0068E: AdjustTokenPrivileges enable failed."));
    EXPECT_EQ(machine.sessionEnds().size(), 1U);
}

TEST_F(Termination, ASessionThatCannotBeEndedIsNotNoticed) {
    lives = {{0, "LOGOFF", false, 1000}};
    simulation::Fault fault;
    fault.operation = "endSession";
    machine.inject(fault);
    EXPECT_EQ(supervise().end.status, 0U);
    EXPECT_EQ(starts(), 1U);
}

TEST_F(Termination, AnOrderlyEndWithoutTheFileIsAnAccident) {
    lives = {{0, {}, false, 1000}};
    const Outcome outcome = supervise();
    EXPECT_TRUE(outcome.logHas(missingFile));
    ASSERT_EQ(starts(), 2U);
    EXPECT_EQ(machine.startedProcesses()[1].commandLine, machine.startedProcesses()[0].commandLine);
    EXPECT_EQ(count(outcome.log, "ZLNCH0072I: Command = "), 2U);
    EXPECT_EQ(count(outcome.log, "ZLNCH0306I: lock file released @ "), 2U);
}

TEST_F(Termination, AnOrderlyEndWithAnythingElseInTheFileIsAnAccident) {
    const std::string tooLong = "LOGOFF" + std::string(60, ' ');
    for (const std::string& word :
         {std::string(), std::string("LOGOFF "), std::string(" LOGOFF"), std::string("LOGOF"),
          std::string("\r\nLOGOFF\r\n"), std::string("LOGOFFS"), tooLong, std::string(100000, 'x')}) {
        lives = {{0, word, false, 1000}};
        const std::size_t before = starts();
        EXPECT_TRUE(supervise().logHas(unknownWord)) << word.substr(0, 20);
        EXPECT_EQ(starts(), before + 2);
        EXPECT_EQ(machine.readFile(exitData), word);
    }
    EXPECT_TRUE(machine.sessionEnds().empty());
}

TEST_F(Termination, EveryOtherCodeIsAnAccident) {
    for (const std::uint32_t code : {1U, 22U, 25U, 0xFFFFFFFFU, 0xC0000005U, 0x80000000U}) {
        lives = {{static_cast<int>(code), "LOGOFF", false, 1000}};
        const std::size_t before = starts();
        EXPECT_TRUE(supervise().logHas(unknownCode)) << code;
        EXPECT_EQ(starts(), before + 2);
    }
    EXPECT_TRUE(machine.sessionEnds().empty());
}

TEST_F(Termination, ARestartThatNobodyFollowsEndsTheSupervisionAfterThreeSeconds) {
    for (const int code : {23, 24}) {
        lives = {{code, {}, false, 0}};
        const std::uint64_t before = machine.elapsedMilliseconds();
        EXPECT_EQ(supervise().end.status, 0U);
        EXPECT_EQ(machine.elapsedMilliseconds() - before, 3040U);  // the console is hidden, then the wait
    }
    EXPECT_EQ(starts(), 2U);
}

TEST_F(Termination, APlatformThatRestartsByItselfIsWatchedOn) {
    lives = {{23, {}, true, 1000}, {24, {}, true, 20000}, {0, "LOGOFF", false, 20000}};
    const Outcome outcome = supervise();
    EXPECT_EQ(starts(), 3U);
    EXPECT_EQ(machine.sessionEnds().size(), 1U);
    EXPECT_GE(machine.elapsedMilliseconds(), 41000U);
    EXPECT_EQ(outcome.log.find("Restart workbench"), std::string::npos);
    EXPECT_EQ(machine.debuggerTexts(), std::vector<std::wstring>(3, L"Inside HandleTermination..."));
}

TEST_F(Termination, AWatchedPlatformThatCrashesIsStartedAgain) {
    lives = {{23, {}, true, 1000}, {7, {}, false, 20000}};
    EXPECT_TRUE(supervise().logHas(unknownCode));
    EXPECT_EQ(starts(), 3U);
}

TEST_F(Termination, ARestartByTheFileIsWatchedOn) {
    lives = {{0, "RESTART", true, 1000}, {23, {}, false, 20000}};
    EXPECT_EQ(supervise().log.find("Restart workbench"), std::string::npos);
    EXPECT_EQ(starts(), 2U);
    EXPECT_GE(machine.elapsedMilliseconds(), 20000U);
}

// The path of the file grows and never shrinks: only the first orderly end is told by it.
TEST_F(Termination, TheFileSpeaksOnceInALaunchersLife) {
    lives = {{0, "RESTART", true, 1000}, {0, "LOGOFF", false, 10000}};
    const Outcome outcome = supervise();
    EXPECT_TRUE(outcome.logHas(missingFile));
    EXPECT_TRUE(machine.sessionEnds().empty());
    EXPECT_EQ(starts(), 3U);
    const std::wstring once = L"\\Users\\ann\\.exitData";
    const std::wstring twice = once + L"\\.exitData";
    // Asked for, read for each of three words, removed below itself, asked for below that.
    EXPECT_EQ(opened(L".exitData"),
              (std::vector<std::wstring>{once, once, once, once, twice, twice + L"\\.exitData"}));
}

// The removal itself works; it is the path that a question before it has made too long.
TEST_F(Termination, ARemovalWithoutAQuestionBeforeItTakesTheFile) {
    machine.writeFile(exitData, "LOGOFF");
    run([] {
        zellauncher::settleExitDataPath();
        zellauncher::removeExitData();
    });
    EXPECT_FALSE(machine.exists(exitData));
}

TEST_F(Termination, ALauncherOfANewSessionHearsTheFormerOnesWord) {
    machine.writeFile(exitData, "LOGOFF");
    lives = {{0, {}, false, 1000}};
    supervise();
    EXPECT_EQ(machine.sessionEnds().size(), 1U);
}

TEST_F(Termination, WithoutAHomePathTheFileLiesAtTheRoot) {
    machine.unsetEnvironment(L"HOMEPATH");
    machine.writeFile(L"C:\\.exitData", "LOGOFF");
    lives = {{0, {}, false, 1000}};
    supervise();
    EXPECT_EQ(machine.sessionEnds().size(), 1U);
}

TEST_F(Termination, AFileThatCannotBeReadIsNoFile) {
    machine.writeFile(exitData, "LOGOFF");
    machine.refuse(exitData, platform::errorAccessDenied);
    lives = {{0, {}, false, 1000}};
    EXPECT_TRUE(supervise().logHas(missingFile));
}

TEST_F(Termination, AFileThatMayNotBeWrittenHoldsNoWord) {
    machine.writeFile(exitData, "LOGOFF");
    machine.setAttributes(exitData, 0x1);
    lives = {{0, {}, false, 1000}};
    EXPECT_TRUE(supervise().logHas(unknownWord));
}

// The list is that of one moment: the second platform has ended meanwhile, and is handled all the same.
TEST_F(Termination, TwoPlatformsAreWatchedOneAfterTheOther) {
    machine.installProgram(L"C:\\other\\ECLIPSE.EXE", [] { return 0; });
    machine.start({L"C:\\other\\ECLIPSE.EXE"}, [] {
        platform::sleepMilliseconds(30000);
        return 7;
    });
    lives = {{23, {}, true, 1000}, {8, {}, false, 10000}};
    const Outcome outcome = supervise();
    EXPECT_EQ(count(outcome.log, unknownCode), 2U);
    EXPECT_EQ(starts(), 4U);  // two of their own accord, and one for each accident
    EXPECT_GE(machine.elapsedMilliseconds(), 30000U);
    EXPECT_EQ(machine.debuggerTexts().size(), 5U);
}

TEST_F(Termination, WithoutAListOfProcessesTheLauncherEnds) {
    lives = {{23, {}, true, 1000}};
    simulation::Fault fault;
    fault.operation = "processSnapshot";
    machine.inject(fault);
    bool isBehind = false;
    const Outcome outcome = run([&] {
        zellauncher::settleExitDataPath();
        zellauncher::monitorPlatformProcess();
        isBehind = true;
    });
    EXPECT_EQ(outcome.end.kind, simulation::EndKind::exited);
    EXPECT_EQ(outcome.end.status, 0U);
    EXPECT_FALSE(isBehind);
}

TEST_F(Termination, AProcessThatMayNotBeAskedIsPassedOver) {
    lives = {{23, {}, true, 1000}, {7, {}, false, 20000}};
    simulation::Fault fault;
    fault.operation = "openProcess";
    machine.inject(fault);
    EXPECT_EQ(supervise().log.find("Restart workbench"), std::string::npos);
    EXPECT_EQ(starts(), 2U);
}

// A platform that ends as soon as it starts, for hours: each restart costs a few handles and a level of
// calls, and the thousandth is as good as the first.
TEST_F(Termination, APlatformMayCrashAThousandTimes) {
    constexpr std::size_t crashes = 1000;
    lives.assign(crashes, Life{1, {}, false, 0});
    std::size_t handles = 0;
    const Outcome outcome = run([&] {
        zellauncher::settleExitDataPath();
        zellauncher::readInstallConfiguration({{L"install.configuration", L"lockdown"}}, false);
        zellauncher::acquirePlatformLock({L"prog"}, L"C:\\ws", L"eclipse.exe");
        zellauncher::launchCommand = L"C:\\p\\eclipse.exe " + std::wstring(2000, L'x');
        zellauncher::handOffOrExecute(zellauncher::launchCommand);
        handles = machine.openHandlesOf(platform::currentProcessId());
    });
    EXPECT_EQ(outcome.end.status, 0U);
    EXPECT_EQ(starts(), crashes + 1);
    EXPECT_LE(handles, 2 * (crashes + 1) + 2);  // a process and a thread for each start
}

}  // namespace
