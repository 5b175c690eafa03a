#include "instance/child_start.h"

#include <optional>

#include "platform/own_process.h"
#include "support/operations.h"
#include "support/text.h"
#include "unit/instance/workspace_fixture.h"

namespace {

using instancetest::lockFile;
using instancetest::mainRecord;
using instancetest::pipeFile;

constexpr std::size_t longestCommand = 32766;

// The launcher holds the lock. The platform publishes its pipe file before it starts.
class ChildStart : public instancetest::Workspace {
protected:
    const std::wstring program = L"C:\\p\\child.exe";
    platform::ChildProcess started;

    ChildStart() {
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

TEST_F(ChildStart, ProcessIdIsRecorded) {
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

TEST_F(ChildStart, RecordOfADeadOwnerIsReplaced) {
    machine.writeFile(lockFile, "4711");
    start(program);
    EXPECT_EQ(machine.readFile(lockFile), std::to_string(started.processId) + std::string(10, ' '));
}

TEST_F(ChildStart, OnlyTheFirstLikelyCauseIsLogged) {
    for (const std::wstring& command : {commandOfLength(longestCommand + 1), std::wstring()}) {
        machine.inject(launchertest::failing("createProcess", platform::errorFileNotFound));
        start(command);
        EXPECT_TRUE(outcome.isFatal());
        EXPECT_EQ(outcome.linesBeginningWith("ZELLauncher> "), 1U);
    }
}

TEST_F(ChildStart, MissingProgramIsTheLikelyCause) {
    const std::string cause = "ZELLauncher> the program file that the command names is missing";
    start(L"C:\\p\\gone.exe");
    expectFailure(
        {"CreateProcessW failed with error 2: The system cannot find the file specified.", "", cause});
    start(L"C:\\gone\\child.exe");
    expectFailure(
        {"CreateProcessW failed with error 3: The system cannot find the path specified.", "", cause});
}

TEST_F(ChildStart, LongestCommandHas32766Characters) {
    start(commandOfLength(longestCommand));
    EXPECT_EQ(machine.startedProcesses().back().commandLine.size(), longestCommand);
    machine.remove(lockFile);
    machine.remove(mainRecord);
    machine.remove(pipeFile);
    start(commandOfLength(longestCommand + 1));
    expectFailure({"CreateProcessW failed with error 206: The system has a text for this.", "",
                   "ZELLauncher> the command is longer than the 32766 characters that the system can start"});
}

TEST_F(ChildStart, LongestCommandOfAMissingProgramNamesTheProgram) {
    std::wstring command = L"C:\\p\\gone.exe ";
    command.resize(longestCommand, L'x');
    start(command);
    EXPECT_EQ(outcome.linesBeginningWith("ZELLauncher> the program file"), 1U);
    EXPECT_TRUE(outcome.isFatal());
}

TEST_F(ChildStart, EmptyCommandNamesNoProgram) {
    start(L"");
    EXPECT_TRUE(outcome.isFatal());
    EXPECT_TRUE(outcome.logHas(
        "ZELLauncher> the command names no program: neither -vm nor the vm property is given"));
    EXPECT_EQ(outcome.linesBeginningWith("ZELLauncher> the program file"), 0U);
}

TEST_F(ChildStart, FileThatIsNoProgramHasNoLikelyCause) {
    machine.writeFile(L"C:\\p\\text.exe", "no program");
    start(L"C:\\p\\text.exe");
    EXPECT_TRUE(outcome.isFatal());
    EXPECT_EQ(outcome.linesBeginningWith("CreateProcessW failed with error 193: "), 1U);
    EXPECT_EQ(outcome.linesBeginningWith("ZELLauncher>"), 0U);
}

TEST_F(ChildStart, EndOfAChildIsNoticedWithinATenthOfASecond) {
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
