#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <filesystem>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

// Runs the real launcher on an install with real files, with the standin as the platform. Every wait is for
// an event and has a limit.
namespace endtoend {

namespace fs = std::filesystem;

using Arguments = std::vector<std::wstring>;

// Exit status of a launcher; nothing if it did not end in time.
using Status = std::optional<std::uint32_t>;

inline constexpr std::uint32_t fatalStatus = 0xFFFFFFFFU;

// A launcher that has been started but not waited for.
struct Running {
    void* process = nullptr;
    std::uint32_t processId = 0;
};

// Compares names of environment variables as the system does: without regard to case.
struct VariableOrder {
    bool operator()(const std::wstring& left, const std::wstring& right) const;
};
using Variables = std::map<std::wstring, std::wstring, VariableOrder>;

// A client of a platform's pipe that a test drives step by step.
class PipeClient {
public:
    explicit PipeClient(const std::wstring& name);
    ~PipeClient() { close(); }
    PipeClient(const PipeClient&) = delete;
    PipeClient& operator=(const PipeClient&) = delete;

    bool isConnected() const { return pipe != nullptr; }
    bool write(const std::wstring& text);  // with a NUL at the end
    void close();

private:
    void* pipe = nullptr;
};

// The build directory, in which the programs are.
fs::path builtPrograms();

// One install, user and temporary directory for each test, below a directory of its own.
class EndToEnd : public ::testing::Test {
protected:
    EndToEnd();
    ~EndToEnd() override;  // ends the platforms of this test and deletes its files

    // The launcher's file: zellauncher.exe, unless the variable ZELLAUNCHER_PROGRAM names the other one.
    std::wstring launcherName;
    fs::path root;     // everything of this test
    fs::path install;  // ...\framework\Client
    fs::path base;     // the base location
    fs::path userHome;
    std::wstring userName = L"ann";
    Variables environment;                    // added to the launcher's usual variables
    std::set<std::wstring> missingVariables;  // removed from them
    fs::path currentDirectory;                // of the launchers; empty means that of the tests
    bool hasLog = true;                       // whether a start can write a log

    // Contents of the install's files. Set them before the first start, or call layOut afterwards.
    std::vector<std::pair<std::string, std::string>> launcherProperties;
    std::vector<std::string> baseLines;
    std::vector<std::string> jvmLines;
    std::vector<std::string> scriptLines;  // of the standin

    void setProperty(const std::string& key, const std::string& value);
    void removeProperty(const std::string& key);
    virtual void layOut();
    // Lays out examples/install instead.
    void layOutExample();

    // Starts the launcher with these arguments and waits for its end. What zelexplain reads in the start's
    // log must be what happened. With the variable ZELLAUNCHER_EXPLAIN, zelexplain also explains the start
    // before, and a difference between both fails the test.
    Status launch(const Arguments& arguments = {});
    Status launchFrom(const fs::path& program, const Arguments& arguments = {});
    // Starts it with this text after the program on the command line.
    Status launchLine(const std::wstring& tail);
    Running begin(const Arguments& arguments = {});
    Running beginLine(const std::wstring& tail);
    Running beginFrom(const fs::path& program, const Arguments& arguments);
    static Status waitFor(const Running& running);
    fs::path launcherPath() const { return install / L"zel" / launcherName; }
    static bool hasEnded(const Running& running);
    // Waits until the launcher has the lock file open, which is just before it waits at the lock. False if it
    // ends instead, or does not come there in time.
    bool hasComeToTheLock(const Running& running) const;
    // Waits until it has read the lock file, which a restart does before it waits for the old platform.
    bool hasReadTheLockFile(const Running& running) const;

    fs::path workspace() const;              // the user's default one
    std::wstring workspaceArgument() const;  // as the launcher spells it on the command line
    std::string log() const;                 // in the default workspace
    std::string tempLog() const;
    // Logs with a time stamp in their names; each start with -debug writes one.
    std::vector<std::string> debugLogs() const { return stampedLogs(workspace() / L"logs"); }
    // A start that fails at the lock writes a stamped log to the temporary directory. Empty unless
    // there is exactly one.
    std::string lockLog() const;
    // The whole file with CR LF as LF; empty if it is missing.
    static std::string read(const fs::path& path);
    static void write(const fs::path& path, const std::string& content);
    // Copies a file of the build directory, unless the target exists.
    static void placeProgram(const std::wstring& name, const fs::path& target);

    // What the platform recorded at its start; these wait for it.
    Arguments platformArguments() const { return platformArguments(workspace()); }
    Arguments platformArguments(const fs::path& directory) const;
    std::wstring platformCommand() const { return platformCommand(workspace()); }
    std::wstring platformCommand(const fs::path& directory) const;
    bool hasArgument(const std::wstring& argument) const;
    // The argument after the option; empty without the option.
    std::wstring argumentAfter(const std::wstring& option) const;
    static std::wstring argumentAfter(const std::wstring& option, const Arguments& arguments);
    Variables platformEnvironment() const;
    std::map<std::string, std::string> platformStart() const;
    std::string platformProcessId() const { return platformStart()["pid"]; }

    // The n-th text, from 1 on, that came through the platform's pipe, with its NUL; waits for it.
    std::wstring payload(int number) const;
    bool hasPayload(int number) const;
    // The lines of that text.
    Arguments handedOver(int number) const;

    // True if the process in .zel.main runs.
    bool isPlatformRunning() const { return isPlatformRunning(workspace()); }
    bool isPlatformRunning(const fs::path& directory) const;
    // The pipe's name as the pipe file has it.
    std::wstring pipeName() const { return pipeName(workspace()); }
    static std::wstring pipeName(const fs::path& directory);
    // Requests `stop` or `publish` from the platform without waiting for it.
    void askPlatform(const std::string& request) const { askPlatform(request, workspace()); }
    static void askPlatform(const std::string& request, const fs::path& directory);
    // Asks the platform to end, waits for that and deletes its records.
    void stopPlatform() { stopPlatform(workspace()); }
    void stopPlatform(const fs::path& directory);
    // Kills the platform.
    void crashPlatform();

    // The process with these rights if it runs a program of this test, otherwise null: the id may be that of
    // a stranger by now.
    void* openProcess(std::uint32_t processId, std::uint32_t rights) const;
    // The directories that have, at any depth, every program that a test starts.
    virtual std::vector<fs::path> programDirectories() const { return {root}; }

    // Why no launcher that supervises its platform can be tested now: it would watch another eclipse.exe of
    // this machine until that ends. Empty if there is none.
    static std::string whyNoSupervision();

    // True if the next launcher of the workspace would get the lock at once.
    bool isLockFree() const;

    // True if the condition becomes true within this time.
    template <typename Condition>
    static bool eventually(Condition condition, int seconds = 60) {
        constexpr int looksPerSecond = 20;
        for (int i = 0; i < seconds * looksPerSecond; ++i) {
            if (condition()) {
                return true;
            }
            pause();
        }
        return condition();
    }

private:
    static void pause();
    // Nothing if the launcher does not have the lock file open.
    std::optional<std::uint64_t> positionInLockFile(const Running& running) const;
    static std::vector<std::string> stampedLogs(const fs::path& directory);
    // The process in .zel.main, or null.
    void* openRecordedProcess(const fs::path& directory, std::uint32_t rights) const;
    static void awaitRecords(const fs::path& directory);
    // Deletes what the standin has recorded. A fault of its script fails the test.
    static void removeRecords(const fs::path& directory);
    Running beginCommand(std::wstring command);
    // With the launcher's environment and current directory, and this output unless it is null.
    Running beginProcess(std::wstring command, void* output) const;
    Variables launcherVariables() const;
    // Starts the launcher with everything that is after the program on the command line.
    Status launchTail(const fs::path& program, const std::wstring& tail);
    // What zelexplain prints for that start, as JSON.
    std::string explain(const fs::path& program, const std::wstring& tail) const;
    // launchTail, compared with what zelexplain says before. A difference fails the test.
    Status launchExplained(const fs::path& program, const std::wstring& tail);
    // The value of the option --platform of zelexplain.
    std::wstring runningPlatform() const;

    bool isLaidOut = false;
    int explainedStarts = 0;
    std::vector<fs::path> workspaces;  // in which a platform may run
};

bool contains(const std::string& text, const std::string& part);
bool contains(const Arguments& arguments, const std::wstring& argument);
// True if the part occurs in the arguments without a gap.
bool containsInOrder(const Arguments& arguments, const Arguments& part);

// The lines of a UTF-8 text.
Arguments linesOf(const std::string& text);
// The lines of a text from the pipe. The text must have one NUL, at its end.
Arguments linesOfPayload(const std::wstring& text);

// The bytes of a file, or nothing with the system's error if it cannot be opened.
std::optional<std::string> contentOf(const fs::path& path);

// The bytes of a file. None if it is missing; a failure if it exists and cannot be read.
std::string bytesOf(const fs::path& path);

// Size and time of the last write of each file below a directory; an empty text for a directory.
using Tree = std::map<fs::path, std::wstring>;
Tree treeOf(const fs::path& directory);

std::wstring forward(const fs::path& path);   // with forward slashes
std::wstring backward(const fs::path& path);  // with backslashes

bool isWine();

// True if the machine lists the user's name in the local Administrators group, which is what the launcher
// asks. A user of a domain is not listed, even with an administrator's rights; under Wine every user is.
bool isUserAdministrator();

}  // namespace endtoend
