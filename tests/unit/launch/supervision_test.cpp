// A launcher that supervises its platform: launch/platform_execution together with kiosk/termination.
#include <gtest/gtest.h>

#include <cstdint>
#include <deque>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "configuration/install_kind.h"
#include "instance/platform_lock.h"
#include "javalaunch/launch_command.h"
#include "kiosk/exit_data.h"
#include "kiosk/termination.h"
#include "launch/platform_execution.h"
#include "platform/child_processes.h"
#include "platform/clock.h"
#include "platform/files.h"
#include "platform/own_process.h"
#include "platform/streams.h"
#include "support/faults.h"
#include "support/launcher_fixture.h"
#include "support/text.h"

namespace {

using launchertest::countOccurrences;
using launchertest::failing;
using launchertest::Outcome;

constexpr const wchar_t* exitData = L"C:\\Users\\ann\\.exitData";
const std::string missingFile =
    "ZLNCH0026I: ExitDate file does not exists. Assume error condition. Restart workbench.";
const std::string unknownWord =
    "ZLNCH0078I: ExitDate file exists but contents were not logoff or shutdown. Restart workbench.";
const std::string unknownCode =
    "ZLNCH0027I: exit code is not 0 - assume invalid exit condition. Restart workbench.";

// How a platform runs and ends.
struct Life {
    int exitCode = 0;
    std::optional<std::string> word = {};  // written to .exitData before the end
    bool restartsItself = false;
    std::uint32_t milliseconds = 1000;
};

// What a program that lists processes does after five seconds, for a minute.
int openEveryProcess() {
    platform::sleepMilliseconds(5000);
    const platform::Handle snapshot = platform::processSnapshot();
    for (auto entry = platform::firstProcess(snapshot); entry; entry = platform::nextProcess(snapshot)) {
        platform::openProcess(entry->processId);
    }
    platform::sleepMilliseconds(60000);
    return 0;
}

// On a lockdown install, a launcher supervises a platform that has these lives, one after the other.
// The platform after the last one ends with 23 and does not restart itself, which ends the supervision.
class Supervision : public launchertest::OnMachine {
protected:
    std::deque<Life> lives;

    Supervision() {
        machine.makeDirectory(L"C:\\ws");
        machine.makeDirectory(L"C:\\Users\\ann");
        machine.installProgram(L"C:\\p\\eclipse.exe", [this] { return live(); });
    }

    int live() {
        Life life{.exitCode = 23, .milliseconds = 0};
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
        if (life.restartsItself) {
            EXPECT_TRUE(platform::createProcess(L"C:\\p\\eclipse.exe", {}).has_value());
        }
        return life.exitCode;
    }

    static void superviseHere(const std::wstring& command) {
        zellauncher::settleExitDataPath();
        zellauncher::readInstallConfiguration({{L"install.configuration", L"lockdown"}});
        zellauncher::acquirePlatformLock({L"prog"}, L"C:\\ws");
        zellauncher::launchCommand = command;
        zellauncher::handOffOrExecute(zellauncher::launchCommand);
    }
    Outcome supervise() {
        return run([] { superviseHere(L"C:\\p\\eclipse.exe -x"); });
    }

    std::size_t starts() const { return machine.startedProcesses().size(); }
    // The paths of this ending that the launcher opened. The platform's own path has a drive.
    std::vector<std::wstring> openedPaths(const std::wstring& ending) const {
        std::vector<std::wstring> paths;
        for (const simulation::Operation& operation : machine.operations()) {
            if (operation.name == "openStream" && operation.argument.ends_with(ending) &&
                operation.argument != exitData) {
                paths.push_back(operation.argument);
            }
        }
        return paths;
    }
};

TEST_F(Supervision, LogoffInAnyCaseLogsTheUserOff) {
    for (const char* word : {"LOGOFF", "logoff", "LogOff\r\nSHUTDOWN\r\n", "LOGOFF\n"}) {
        lives = {{.word = word}};
        const std::size_t before = machine.sessionEnds().size();
        EXPECT_EQ(supervise().processEnd().status, 0U);
        ASSERT_EQ(machine.sessionEnds().size(), before + 1) << word;
        EXPECT_EQ(machine.sessionEnds().back().how, 4U);
        EXPECT_EQ(machine.sessionEnds().back().reason, 0U);
        EXPECT_EQ(machine.readFile(exitData), word);  // stays, because the removal looks below it
    }
    EXPECT_EQ(starts(), 4U);
}

TEST_F(Supervision, ShutdownEnablesThePrivilegeFirst) {
    for (const char* word : {"SHUTDOWN", "shutdown\r\n"}) {
        lives = {{.word = word}};
        EXPECT_EQ(countOccurrences(supervise().log, "ZLNCH006"), 0U);
        EXPECT_EQ(machine.sessionEnds().back().how, 5U);
        EXPECT_EQ(machine.sessionEnds().back().reason, 0x40000U);
        EXPECT_TRUE(machine.sessionEnds().back().wasPrivileged);
        EXPECT_FALSE(machine.isShutdownEnabled());
    }
    EXPECT_EQ(machine.sessionEnds().size(), 2U);
    EXPECT_EQ(starts(), 2U);
}

TEST_F(Supervision, UnopenableTokenIsLoggedAndTheShutdownRequested) {
    lives = {{.word = "SHUTDOWN"}};
    machine.inject(failing("openOwnToken", platform::errorAccessDenied));
    const Outcome outcome = supervise();
    EXPECT_TRUE(outcome.logHas("ZLNCH0067E: OpenProcessToken failed."));
    EXPECT_TRUE(outcome.logHas("ZLNCH0068E: AdjustTokenPrivileges enable failed."));
    ASSERT_EQ(machine.sessionEnds().size(), 1U);
    EXPECT_FALSE(machine.sessionEnds()[0].wasPrivileged);
}

TEST_F(Supervision, MissingPrivilegeIsLoggedAndTheShutdownRequested) {
    lives = {{.word = "SHUTDOWN"}};
    machine.refusePrivileges();
    const Outcome outcome = supervise();
    EXPECT_EQ(outcome.log.find("ZLNCH0067E"), std::string::npos);
    EXPECT_TRUE(outcome.logHas("ZLNCH0068E: AdjustTokenPrivileges enable failed."));
    EXPECT_EQ(machine.sessionEnds().size(), 1U);
}

TEST_F(Supervision, FailureToEndTheSessionIsIgnored) {
    lives = {{.word = "LOGOFF"}};
    machine.inject(failing("endSession", platform::errorAccessDenied));
    EXPECT_EQ(supervise().processEnd().status, 0U);
    EXPECT_EQ(starts(), 1U);
}

TEST_F(Supervision, ZeroExitWithoutTheFileRerunsTheCommand) {
    lives = {{.exitCode = 0}};
    const Outcome outcome = supervise();
    EXPECT_TRUE(outcome.logHas(missingFile));
    ASSERT_EQ(starts(), 2U);
    EXPECT_EQ(machine.startedProcesses()[1].commandLine, machine.startedProcesses()[0].commandLine);
    EXPECT_EQ(countOccurrences(outcome.log, "ZLNCH0072I: Command = "), 2U);
    EXPECT_EQ(countOccurrences(outcome.log, "ZLNCH0306I: lock file released @ "), 2U);
}

TEST_F(Supervision, ZeroExitWithAnyOtherWordRerunsTheCommand) {
    const std::vector<std::string> words = {"",
                                            "LOGOFF ",
                                            " LOGOFF",
                                            "LOGOF",
                                            "LOGOFFS",
                                            "\r\nLOGOFF\r\n",
                                            "LOGOFF" + std::string(60, ' '),
                                            std::string(100000, 'x')};
    for (const std::string& word : words) {
        lives = {{.word = word}};
        const std::size_t before = starts();
        EXPECT_TRUE(supervise().logHas(unknownWord)) << word.substr(0, 20);
        EXPECT_EQ(starts(), before + 2);
        EXPECT_EQ(machine.readFile(exitData), word);
    }
    EXPECT_TRUE(machine.sessionEnds().empty());
}

TEST_F(Supervision, AnyOtherExitCodeRerunsTheCommand) {
    for (const std::uint32_t code : {1U, 22U, 25U, 0xFFFFFFFFU, 0xC0000005U, 0x80000000U}) {
        lives = {{.exitCode = static_cast<int>(code), .word = "LOGOFF"}};
        const std::size_t before = starts();
        EXPECT_TRUE(supervise().logHas(unknownCode)) << code;
        EXPECT_EQ(starts(), before + 2);
    }
    EXPECT_TRUE(machine.sessionEnds().empty());
}

TEST_F(Supervision, PlatformIsPolledTwiceASecond) {
    for (const auto& [milliseconds, noticed] :
         std::map<std::uint32_t, std::uint64_t>{{10039, 10040}, {10041, 10540}}) {
        lives = {{.exitCode = 23, .milliseconds = milliseconds}};
        const std::uint64_t before = machine.elapsedMilliseconds();
        supervise();
        EXPECT_EQ(machine.elapsedMilliseconds() - before, noticed + 3000U) << milliseconds;
    }
}

TEST_F(Supervision, RestartThatDoesNotHappenEndsTheSupervision) {
    for (const int code : {23, 24}) {
        lives = {{.exitCode = code, .milliseconds = 0}};
        const std::uint64_t before = machine.elapsedMilliseconds();
        EXPECT_EQ(supervise().processEnd().status, 0U);
        // 40 ms for hiding the console and the wait of three seconds.
        EXPECT_EQ(machine.elapsedMilliseconds() - before, 3040U);
    }
    EXPECT_EQ(starts(), 2U);
}

TEST_F(Supervision, PlatformThatRestartsItselfIsWatchedOn) {
    lives = {{.exitCode = 23, .restartsItself = true},
             {.exitCode = 24, .restartsItself = true, .milliseconds = 20000},
             {.word = "LOGOFF", .milliseconds = 20000}};
    const Outcome outcome = supervise();
    EXPECT_EQ(starts(), 3U);
    EXPECT_EQ(machine.sessionEnds().size(), 1U);
    EXPECT_GE(machine.elapsedMilliseconds(), 41000U);
    EXPECT_EQ(outcome.log.find("Restart workbench"), std::string::npos);
    EXPECT_EQ(machine.debuggerTexts(), std::vector<std::wstring>(3, L"Inside HandleTermination..."));
}

TEST_F(Supervision, CrashOfAWatchedPlatformRerunsTheCommand) {
    lives = {{.exitCode = 23, .restartsItself = true}, {.exitCode = 7, .milliseconds = 20000}};
    EXPECT_TRUE(supervise().logHas(unknownCode));
    EXPECT_EQ(starts(), 3U);
}

TEST_F(Supervision, RestartByTheFileIsWatchedOn) {
    lives = {{.word = "RESTART", .restartsItself = true}, {.exitCode = 23, .milliseconds = 20000}};
    EXPECT_EQ(supervise().log.find("Restart workbench"), std::string::npos);
    EXPECT_EQ(starts(), 2U);
    EXPECT_GE(machine.elapsedMilliseconds(), 20000U);
}

// The path of the file grows at each use and is never shortened.
TEST_F(Supervision, OnlyTheFirstZeroExitReadsTheFile) {
    lives = {{.word = "RESTART", .restartsItself = true}, {.word = "LOGOFF", .milliseconds = 10000}};
    const Outcome outcome = supervise();
    EXPECT_TRUE(outcome.logHas(missingFile));
    EXPECT_TRUE(machine.sessionEnds().empty());
    EXPECT_EQ(starts(), 3U);
    const std::wstring once = L"\\Users\\ann\\.exitData";
    const std::wstring twice = once + L"\\.exitData";
    // First end: existence, comparison with three words, removal. Second end: existence.
    EXPECT_EQ(openedPaths(L".exitData"),
              (std::vector<std::wstring>{once, once, once, once, twice, twice + L"\\.exitData"}));
}

TEST_F(Supervision, FileOfAFormerSessionIsObeyed) {
    machine.writeFile(exitData, "LOGOFF");
    lives = {{.exitCode = 0}};
    supervise();
    EXPECT_EQ(machine.sessionEnds().size(), 1U);
}

TEST_F(Supervision, FileIsInTheRootWithoutAHomePath) {
    machine.unsetEnvironment(L"HOMEPATH");
    machine.writeFile(L"C:\\.exitData", "LOGOFF");
    lives = {{.exitCode = 0}};
    supervise();
    EXPECT_EQ(machine.sessionEnds().size(), 1U);
}

// Such as that of a home drive.
TEST_F(Supervision, FileIsInTheRootForARootAsHomePath) {
    machine.setEnvironment(L"HOMEPATH", L"\\");
    machine.setEnvironment(L"HOMEDRIVE", L"D:");
    for (const wchar_t* path : {L"D:\\.exitData", L"C:\\.exitData"}) {
        machine.writeFile(path, "RESTART");
        lives = {{.exitCode = 0, .restartsItself = true}, {.exitCode = 23, .milliseconds = 20000}};
        const std::size_t before = starts();
        EXPECT_EQ(supervise().log.find("Restart workbench"), std::string::npos);
        EXPECT_EQ(starts(), before + 2);
    }
}

TEST_F(Supervision, UnreadableFileIsTreatedAsMissing) {
    machine.writeFile(exitData, "LOGOFF");
    machine.refuse(exitData, platform::errorAccessDenied);
    lives = {{.exitCode = 0}};
    EXPECT_TRUE(supervise().logHas(missingFile));
}

TEST_F(Supervision, ReadOnlyFileHasNoKnownWord) {
    machine.writeFile(exitData, "LOGOFF");
    machine.setAttributes(exitData, platform::attributeReadOnly);
    lives = {{.exitCode = 0}};
    EXPECT_TRUE(supervise().logHas(unknownWord));
}

// The process list is a snapshot. As long as another program has a process open that has ended meanwhile, its
// end is handled too.
TEST_F(Supervision, TwoPlatformsAreWatchedOneAfterTheOther) {
    machine.start({L"C:\\Windows\\taskmgr.exe"}, openEveryProcess);
    machine.installProgram(L"C:\\other\\ECLIPSE.EXE", [] { return 0; });
    machine.start({L"C:\\other\\ECLIPSE.EXE"}, [] {
        platform::sleepMilliseconds(30000);
        return 7;
    });
    lives = {{.exitCode = 23, .restartsItself = true}, {.exitCode = 8, .milliseconds = 10000}};
    const Outcome outcome = supervise();
    EXPECT_EQ(countOccurrences(outcome.log, unknownCode), 2U);
    EXPECT_EQ(starts(), 4U);  // the platform's own two, and one after each crash
    EXPECT_GE(machine.elapsedMilliseconds(), 30000U);
    EXPECT_EQ(machine.debuggerTexts().size(), 5U);
}

TEST_F(Supervision, UnopenableProcessIsSkipped) {
    lives = {{.exitCode = 23, .restartsItself = true}, {.exitCode = 7, .milliseconds = 20000}};
    machine.inject(failing("openProcess", platform::errorAccessDenied));
    EXPECT_EQ(supervise().log.find("Restart workbench"), std::string::npos);
    EXPECT_EQ(starts(), 2U);
}

// Each restart costs two handles and a level of calls, also for a platform that crashes for hours.
TEST_F(Supervision, PlatformMayCrashAThousandTimes) {
    constexpr std::size_t crashes = 1000;
    lives.assign(crashes, Life{.exitCode = 1, .milliseconds = 0});
    std::size_t handles = 0;
    const Outcome outcome = run([&] {
        superviseHere(L"C:\\p\\eclipse.exe " + std::wstring(2000, L'x'));
        handles = machine.openHandlesOf(platform::currentProcessId());
    });
    EXPECT_EQ(outcome.processEnd().status, 0U);
    EXPECT_EQ(starts(), crashes + 1);
    EXPECT_LE(handles, 2 * (crashes + 1) + 2);  // a process and a thread for each start
}

}  // namespace
