#include "instance/child_start.h"

#include <cstdint>
#include <optional>
#include <string>

#include "foundation/file_queries.h"
#include "instance/platform_lock.h"
#include "platform/own_process.h"
#include "support/operations.h"
#include "support/text.h"
#include "unit/instance/workspace_fixture.h"

namespace {

using instancetest::lockFile;
using instancetest::mainRecord;
using instancetest::pipeFile;
using instancetest::Workspace;
using launchertest::failing;

constexpr const wchar_t* eclipse = L"C:\\p\\eclipse.exe";
constexpr const wchar_t* log = L"C:\\TestLog\\zellauncher.log";

// A launcher that holds the lock starts a child, which ends without a pipe file unless a test changes that.
class ChildStart : public Workspace {
protected:
    std::uint32_t publishesAfter = 0;  // milliseconds; 0 means never
    std::uint32_t livesFor = 1000;     // milliseconds
    std::uint32_t exitCode = 1;
    bool removesPipeFile = false;  // at its end
    std::string logBeforeRelease;
    std::uint64_t waited = 0;

    ChildStart() {
        machine.installProgram(eclipse, [this] { return live(); });
    }

    int live() const {
        if (publishesAfter != 0) {
            platform::sleepMilliseconds(publishesAfter);
            platform::closeStream(platform::openStream(pipeFile, "w"));
        }
        platform::sleepMilliseconds(livesFor);
        if (removesPipeFile) {
            platform::deleteFile(pipeFile);
        }
        return static_cast<int>(exitCode);
    }

    void startChild() {
        outcome = runQuietly([&] {
            zellauncher::acquirePlatformLock({L"prog"}, L"C:/ws");
            const std::uint64_t begin = machine.elapsedMilliseconds();
            zellauncher::startChild(eclipse, {});
            waited = machine.elapsedMilliseconds() - begin;
            logBeforeRelease = launchertest::withLineFeeds(machine.readFile(log).value_or(""));
        });
    }
    void expectStatusLine(const std::string& status) {
        startChild();
        EXPECT_EQ(outcome.lastLine(),
                  "ZELLauncher> the platform's process ended with status " + status +
                      " before a .pipe was seen; if it failed, -debug -consoleLog shows why");
        EXPECT_EQ(waited, 15000U);
    }
    void expectNoLine() {
        startChild();
        EXPECT_EQ(outcome.log.find("ZELLauncher> "), std::string::npos) << outcome.log;
    }
};

TEST_F(ChildStart, EndBeforeThePipeFileIsLoggedWithItsStatus) {
    const std::pair<std::uint32_t, const char*> statuses[] = {{0, "0"},
                                                              {1, "1"},
                                                              {255, "255"},
                                                              {256, "256 (0x100)"},
                                                              {259, "259 (0x103)"},
                                                              {0xC0000005U, "3221225477 (0xC0000005)"},
                                                              {0xFFFFFFFFU, "4294967295 (0xFFFFFFFF)"}};
    for (const auto& [status, text] : statuses) {
        exitCode = status;
        expectStatusLine(text);
    }
}

// Another launcher empties the file as soon as it has the lock.
TEST_F(ChildStart, EndIsOnDiskBeforeTheLockIsReleased) {
    startChild();
    EXPECT_NE(logBeforeRelease.find("ended with status 1 "), std::string::npos) << logBeforeRelease;
}

TEST_F(ChildStart, EndWithinTheLastSecondIsLogged) {
    livesFor = 14500;
    expectStatusLine("1");
}

TEST_F(ChildStart, LivingChildIsNotLogged) {
    livesFor = 100000;
    expectNoLine();
    EXPECT_EQ(waited, 15000U);
}

TEST_F(ChildStart, EndAfterPublishingIsNotLogged) {
    publishesAfter = 500;
    livesFor = 100;
    expectNoLine();
    EXPECT_EQ(waited, 1000U);
    for (const simulation::Operation& operation : machine.operations()) {
        EXPECT_NE(operation.name, "hasProcessEnded");
    }
}

// The launcher looks once a second, for the last time at 14 seconds.
TEST_F(ChildStart, PipeFileAfterTheLastLookIsFound) {
    publishesAfter = 14500;
    livesFor = 100;
    expectNoLine();
    EXPECT_EQ(waited, 15000U);
}

TEST_F(ChildStart, LifeBetweenTwoLooksIsLogged) {
    publishesAfter = 200;
    livesFor = 200;
    removesPipeFile = true;
    expectStatusLine("1");
}

TEST_F(ChildStart, UnreadableStatusIsNotLogged) {
    machine.inject(failing("processExitCode", platform::errorAccessDenied));
    expectNoLine();
    machine.inject(failing("hasProcessEnded", platform::errorInvalidHandle));
    expectNoLine();
}

constexpr std::size_t longestCommand = 32766;

// The launcher holds the lock. The platform publishes its pipe file before it starts.
class ChildCommand : public instancetest::Workspace {
protected:
    const std::wstring program = L"C:\\p\\child.exe";
    platform::ChildProcess started;

    ChildCommand() {
        machine.installProgram(program, [] {
            platform::sleepMilliseconds(330);
            return 7;
        });
    }
    void start(const std::wstring& command, const platform::StartInformation& information = {}) {
        outcome = runQuietly([&] {
            zellauncher::acquirePlatformLock({L"prog"}, L"C:\\ws");
            platform::closeStream(platform::openStream(pipeFile, "w"));
            started = zellauncher::startChild(command, information);
        });
    }
    // The lines after those of the lock are these, and one with the time of its release.
    void expectFailure(const std::vector<std::string>& reasons) {
        EXPECT_TRUE(outcome.isFatal());
        std::vector<std::string> lines = launchertest::splitLines(outcome.log);
        ASSERT_GT(lines.size(), reasons.size() + 1);
        EXPECT_TRUE(lines.back().starts_with("ZLNCH0306I: lock file released @ "));
        lines.pop_back();
        EXPECT_EQ(
            std::vector<std::string>(lines.end() - static_cast<std::ptrdiff_t>(reasons.size()), lines.end()),
            reasons);
        EXPECT_EQ(lines[lines.size() - reasons.size() - 1], "ZLNCH0304I: We are main process");
        EXPECT_EQ(machine.readFile(lockFile), "");
        EXPECT_FALSE(machine.exists(mainRecord));
    }
    std::wstring commandOfLength(std::size_t length) const {
        std::wstring command = program + L" ";
        command.resize(length, L'x');
        return command;
    }
};

TEST_F(ChildCommand, ProcessIdIsRecorded) {
    platform::StartInformation information;
    information.title = L"title";
    start(program + L" -x", information);
    ASSERT_EQ(machine.startedProcesses().size(), 1U);
    const simulation::StartedProcess& child = machine.startedProcesses()[0];
    EXPECT_EQ(child.commandLine, program + L" -x");
    EXPECT_EQ(child.start.title, L"title");
    EXPECT_EQ(started.processId, child.id);
    EXPECT_NE(started.process, platform::Handle::none);
    EXPECT_EQ(machine.readFile(lockFile), std::to_string(child.id) + std::string(10, ' '));
    EXPECT_EQ(machine.readFile(mainRecord), std::to_string(child.id) + std::string(5, ' '));
}

TEST_F(ChildCommand, RecordOfADeadOwnerIsReplaced) {
    machine.writeFile(lockFile, "4711");
    start(program);
    EXPECT_EQ(machine.readFile(lockFile), std::to_string(started.processId) + std::string(10, ' '));
}

TEST_F(ChildCommand, OnlyTheFirstLikelyCauseIsLogged) {
    for (const std::wstring& command : {commandOfLength(longestCommand + 1), std::wstring()}) {
        for (const platform::ErrorCode error : {platform::errorFileNotFound, platform::errorBadProgram}) {
            machine.inject(launchertest::failing("createProcess", error));
            start(command);
            EXPECT_TRUE(outcome.isFatal());
            EXPECT_EQ(outcome.linesBeginningWith("ZELLauncher> "), 1U);
        }
    }
}

TEST_F(ChildCommand, OtherErrorsHaveNoLikelyCause) {
    machine.inject(launchertest::failing("createProcess", platform::errorAccessDenied));
    start(program);
    expectFailure({"CreateProcessW failed with error 5: Access is denied.", ""});
}

TEST_F(ChildCommand, MissingProgramIsTheLikelyCause) {
    const std::string cause = "ZELLauncher> the program file that the command names is missing";
    start(L"C:\\p\\gone.exe");
    expectFailure(
        {"CreateProcessW failed with error 2: The system cannot find the file specified.", "", cause});
    start(L"C:\\gone\\child.exe");
    expectFailure(
        {"CreateProcessW failed with error 3: The system cannot find the path specified.", "", cause});
}

TEST_F(ChildCommand, LongestCommandHas32766Characters) {
    start(commandOfLength(longestCommand));
    EXPECT_EQ(machine.startedProcesses().back().commandLine.size(), longestCommand);
    machine.remove(lockFile);
    machine.remove(mainRecord);
    machine.remove(pipeFile);
    start(commandOfLength(longestCommand + 1));
    expectFailure({"CreateProcessW failed with error 206: The filename or extension is too long.", "",
                   "ZELLauncher> the command is longer than the 32766 characters that the system can start"});
}

TEST_F(ChildCommand, LongestCommandOfAMissingProgramNamesTheProgram) {
    std::wstring command = L"C:\\p\\gone.exe ";
    command.resize(longestCommand, L'x');
    start(command);
    EXPECT_EQ(outcome.linesBeginningWith("ZELLauncher> the program file"), 1U);
    EXPECT_TRUE(outcome.isFatal());
}

TEST_F(ChildCommand, EmptyCommandNamesNoProgram) {
    start(L"");
    EXPECT_TRUE(outcome.isFatal());
    EXPECT_TRUE(outcome.logHas(
        "ZELLauncher> the command names no program: neither -vm nor the vm property is given"));
    EXPECT_EQ(outcome.linesBeginningWith("ZELLauncher> the program file"), 0U);
}

TEST_F(ChildCommand, FileThatIsNoProgramIsTheLikelyCause) {
    machine.writeFile(L"C:\\p\\text.exe", "no program");
    start(L"C:\\p\\text.exe");
    EXPECT_TRUE(outcome.isFatal());
    EXPECT_EQ(outcome.linesBeginningWith("CreateProcessW failed with error 193: "), 1U);
    EXPECT_TRUE(outcome.logHas("ZELLauncher> the file that the command names is not a program"));
    EXPECT_EQ(outcome.linesBeginningWith("ZELLauncher>"), 1U);
}

TEST_F(ChildCommand, EndOfAChildIsNoticedSoon) {
    simulation::ProcessId launcher = {};
    run([&] {
        launcher = platform::currentProcessId();
        const std::optional<platform::ChildProcess> child = platform::createProcess(program, {});
        ASSERT_TRUE(child);
        zellauncher::waitForChild(*child);
        EXPECT_TRUE(platform::hasProcessEnded(child->process));
    });
    EXPECT_EQ(launchertest::sleepsOf(machine, launcher), std::vector<std::uint32_t>(4, 100));
}

}  // namespace
