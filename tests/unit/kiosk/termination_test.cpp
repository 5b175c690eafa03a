#include "kiosk/termination.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "kiosk/exit_data.h"
#include "platform/clock.h"
#include "platform/own_process.h"
#include "support/faults.h"
#include "support/launcher_fixture.h"
#include "support/operations.h"
#include "support/text.h"

namespace {

// Number of calls of rerunCommand.
int reruns = 0;

}  // namespace

// The launcher runs launchCommand again here.
void zellauncher::rerunCommand() {
    ++reruns;
}

namespace {

using launchertest::failing;
using launchertest::Outcome;

constexpr const wchar_t* exitData = L"C:\\Users\\ann\\.exitData";
const std::string missingFile =
    "ZLNCH0026I: ExitDate file does not exists. Assume error condition. Restart workbench.";
const std::string unknownWord =
    "ZLNCH0078I: ExitDate file exists but contents were not logoff or shutdown. Restart workbench.";
const std::string unknownCode =
    "ZLNCH0027I: exit code is not 0 - assume invalid exit condition. Restart workbench.";

class Termination : public launchertest::OnMachine {
protected:
    Termination() { reruns = 0; }

    Outcome handle(std::uint32_t exitCode) {
        return run([&] {
            zellauncher::settleExitDataPath();
            zellauncher::HandleTermination(exitCode);
        });
    }
    Outcome monitor() {
        return run([] {
            zellauncher::settleExitDataPath();
            zellauncher::monitorPlatformProcess();
        });
    }
    // Starts a process that the monitor takes for a platform.
    simulation::ProcessId startPlatform(const std::wstring& program, std::uint32_t lifeMilliseconds,
                                        int exitCode) {
        machine.writeFile(program, "");
        return machine.start({program}, [lifeMilliseconds, exitCode] {
            platform::sleepMilliseconds(lifeMilliseconds);
            return exitCode;
        });
    }
};

TEST_F(Termination, ZeroExitIsDecidedByTheFile) {
    struct Case {
        std::string word;
        std::string log;
        std::vector<std::uint32_t> sessionEnds;
        int reruns = 0;
        std::uint64_t milliseconds = 0;
    };
    const std::vector<Case> cases = {
        {"LOGOFF", "", {4}, 0, 0},
        {"SHUTDOWN", "", {5}, 0, 0},
        {"RESTART", "", {}, 0, 3000},
        {"restart\r\n", "", {}, 0, 3000},
        {"LOGOFF ", unknownWord + "\n", {}, 1, 0},
        {"", unknownWord + "\n", {}, 1, 0},
    };
    for (const Case& each : cases) {
        machine.writeFile(exitData, each.word);
        const std::size_t endsBefore = machine.sessionEnds().size();
        const std::uint64_t begin = machine.elapsedMilliseconds();
        reruns = 0;
        const Outcome outcome = handle(0);
        std::vector<std::uint32_t> ends;
        for (std::size_t i = endsBefore; i < machine.sessionEnds().size(); ++i) {
            ends.push_back(machine.sessionEnds()[i].how);
            EXPECT_EQ(machine.sessionEnds()[i].reason, ends.back() == 5 ? 0x40000U : 0U);
        }
        EXPECT_EQ(outcome.log, each.log) << each.word;
        EXPECT_EQ(ends, each.sessionEnds) << each.word;
        EXPECT_EQ(reruns, each.reruns) << each.word;
        EXPECT_EQ(machine.elapsedMilliseconds() - begin, each.milliseconds) << each.word;
    }
}

// What each word makes the launcher do. The file is opened for the test of its existence and stays open; for
// each comparison it is opened again and closed. The removal looks for it below itself.
TEST_F(Termination, FileIsReadForEachWordAndRemovedFirst) {
    const std::string file = "\\Users\\ann\\.exitData";
    const struct {
        const char* word;
        int comparisons;
        const char* effect;
    } cases[] = {
        {"LOGOFF", 1, "endSession"}, {"SHUTDOWN", 2, "endSession"}, {"RESTART", 3, "processSnapshot"}};
    for (const auto& [word, comparisons, effect] : cases) {
        machine.writeFile(exitData, word);
        const std::size_t before = machine.operations().size();
        handle(0);
        std::vector<std::string> expected = {"openStream " + file};
        for (int i = 0; i < comparisons; ++i) {
            expected.insert(expected.end(), {"openStream " + file, "closeStream .exitData"});
        }
        expected.insert(expected.end(), {"openStream " + file + "\\.exitData", effect});
        std::vector<std::string> trace = launchertest::traceOf(
            machine, {"openStream", "closeStream", "deleteFile", "endSession", "processSnapshot"}, before);
        trace.erase(trace.begin());  // the log
        EXPECT_EQ(trace, expected) << word;
    }
}

TEST_F(Termination, ZeroExitWithoutTheFileRerunsTheCommand) {
    EXPECT_EQ(handle(0).log, missingFile + "\n");
    EXPECT_EQ(reruns, 1);
    EXPECT_TRUE(machine.sessionEnds().empty());
}

TEST_F(Termination, ShutdownEnablesThePrivilegeFirst) {
    machine.writeFile(exitData, "SHUTDOWN");
    EXPECT_EQ(handle(0).log, "");
    ASSERT_EQ(machine.sessionEnds().size(), 1U);
    EXPECT_EQ(machine.sessionEnds()[0].reason, 0x40000U);
    EXPECT_TRUE(machine.sessionEnds()[0].wasPrivileged);
    EXPECT_FALSE(machine.isShutdownEnabled());
}

TEST_F(Termination, UnopenableTokenIsLoggedAndTheShutdownRequested) {
    machine.writeFile(exitData, "SHUTDOWN");
    machine.inject(failing("openOwnToken", platform::errorAccessDenied));
    EXPECT_EQ(handle(0).log,
              "ZLNCH0067E: OpenProcessToken failed.\nZLNCH0068E: AdjustTokenPrivileges enable failed.\n");
    ASSERT_EQ(machine.sessionEnds().size(), 1U);
    EXPECT_FALSE(machine.sessionEnds()[0].wasPrivileged);
}

TEST_F(Termination, RestartExitCodesRerunNothing) {
    machine.writeFile(exitData, "LOGOFF");
    for (const std::uint32_t code : {23U, 24U}) {
        const std::uint64_t begin = machine.elapsedMilliseconds();
        EXPECT_EQ(handle(code).log, "") << code;
        EXPECT_EQ(machine.elapsedMilliseconds() - begin, 3000U) << code;
    }
    EXPECT_EQ(reruns, 0);
    EXPECT_TRUE(machine.sessionEnds().empty());
}

TEST_F(Termination, AnyOtherExitCodeRerunsTheCommand) {
    machine.writeFile(exitData, "LOGOFF");
    for (const std::uint32_t code : {1U, 22U, 25U, 0xFFFFFFFFU, 0xC0000005U, 0x80000000U}) {
        reruns = 0;
        EXPECT_EQ(handle(code).log, unknownCode + "\n") << code;
        EXPECT_EQ(reruns, 1) << code;
    }
    EXPECT_TRUE(machine.sessionEnds().empty());
}

TEST_F(Termination, EveryEndIsReportedToTheDebugger) {
    for (const std::uint32_t code : {0U, 1U, 23U}) {
        handle(code);
    }
    EXPECT_EQ(machine.debuggerTexts(), std::vector<std::wstring>(3, L"Inside HandleTermination..."));
}

TEST_F(Termination, MonitorWithoutAPlatformReturnsAfterThreeSeconds) {
    startPlatform(L"C:\\p\\eclipse2.exe", 60000, 7);
    EXPECT_EQ(monitor().log, "");
    EXPECT_EQ(machine.elapsedMilliseconds(), 3000U);
    EXPECT_EQ(reruns, 0);
}

TEST_F(Termination, MonitorHandlesTheEndOfAPlatform) {
    const simulation::ProcessId platformId = startPlatform(L"C:\\p\\Eclipse.exe", 20000, 7);
    EXPECT_EQ(monitor().log, unknownCode + "\n");
    EXPECT_FALSE(machine.isRunning(platformId));
    EXPECT_EQ(machine.elapsedMilliseconds(), 3000U + 5 * 3500U);
    EXPECT_EQ(reruns, 1);
}

TEST_F(Termination, MonitorClosesItsProcessList) {
    std::size_t handles = 0;
    run([&] {
        zellauncher::monitorPlatformProcess();
        handles = machine.openHandlesOf(platform::currentProcessId());
    });
    EXPECT_EQ(handles, 0U);
}

TEST_F(Termination, MonitorHandlesEveryPlatform) {
    startPlatform(L"C:\\p\\eclipse.exe", 10000, 7);
    startPlatform(L"C:\\q\\ECLIPSE.EXE", 20000, 8);
    EXPECT_EQ(launchertest::countOccurrences(monitor().log, unknownCode), 2U);
    EXPECT_EQ(reruns, 2);
}

// Without a handle of it, the system no longer knows a process that has ended.
TEST_F(Termination, MonitorSkipsAPlatformThatEndsBesideAnother) {
    startPlatform(L"C:\\p\\eclipse.exe", 20000, 7);
    startPlatform(L"C:\\q\\ECLIPSE.EXE", 10000, 8);
    EXPECT_EQ(launchertest::countOccurrences(monitor().log, unknownCode), 1U);
    EXPECT_EQ(reruns, 1);
}

TEST_F(Termination, MonitorSkipsAnUnopenableProcess) {
    startPlatform(L"C:\\p\\eclipse.exe", 20000, 7);
    machine.inject(failing("openProcess", platform::errorAccessDenied));
    EXPECT_EQ(monitor().log, "");
    EXPECT_EQ(machine.elapsedMilliseconds(), 3000U);
    EXPECT_EQ(reruns, 0);
}

TEST_F(Termination, MonitorWithoutAProcessListEndsTheLauncher) {
    machine.inject(failing("processSnapshot", platform::errorAccessDenied));
    bool hasReturned = false;
    const Outcome outcome = run([&] {
        zellauncher::settleExitDataPath();
        zellauncher::monitorPlatformProcess();
        hasReturned = true;
    });
    EXPECT_EQ(outcome.processEnd().kind, simulation::EndKind::exited);
    EXPECT_EQ(outcome.processEnd().status, 0U);
    EXPECT_FALSE(hasReturned);
    EXPECT_EQ(reruns, 0);
}

}  // namespace
