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

// The real zellauncher.exe on an install with real files, with the stand-in as the platform. Every
// wait is for an event and has a bound.
namespace endtoend {

namespace fs = std::filesystem;

// The end of a launcher: its status, or nothing when it did not end in time.
using Status = std::optional<std::uint32_t>;

inline constexpr std::uint32_t fatalStatus = 0xFFFFFFFFU;

// A launcher that was started and not yet waited for.
struct Running {
    void* process = nullptr;
    std::uint32_t processId = 0;
};

// Variables of an environment; their names are told apart as the system does.
struct VariableOrder {
    bool operator()(const std::wstring& left, const std::wstring& right) const;
};
using Variables = std::map<std::wstring, std::wstring, VariableOrder>;

// A client of a platform's pipe, as a launcher is one, but at the pace of a test.
class PipeClient {
public:
    explicit PipeClient(const std::wstring& name);
    ~PipeClient() { close(); }
    PipeClient(const PipeClient&) = delete;
    PipeClient& operator=(const PipeClient&) = delete;

    bool isConnected() const { return pipe != nullptr; }
    bool write(const std::wstring& text);  // and the NUL behind it
    void close();

private:
    void* pipe = nullptr;
};

// Where the build put the programs.
fs::path builtPrograms();

class EndToEnd : public ::testing::Test {
protected:
    EndToEnd();
    ~EndToEnd() override;  // ends the platforms of this test and removes its files

    // Where things are. `home` is the install directory `...\framework\Client`.
    fs::path root;
    fs::path home;
    fs::path base;  // the base location
    fs::path userHome;
    std::wstring userName = L"ann";
    Variables environment;                    // on top of the launcher's usual variables
    std::set<std::wstring> missingVariables;  // which the launcher does not have at all
    fs::path currentDirectory;                // of the launchers; that of the tests when empty

    // Lines of the files of the install; changed before the first start, or written again by layOut.
    std::vector<std::pair<std::string, std::string>> launcherProperties;
    std::vector<std::string> baseLines;
    std::vector<std::string> jvmLines;
    std::vector<std::string> scriptLines;  // of the stand-in

    void setProperty(const std::string& key, const std::string& value);
    void removeProperty(const std::string& key);
    virtual void layOut();
    // The install that stands in the repository as an example, in place of the usual one.
    void layOutExample();

    // Starts the launcher with these words behind the program and waits for its end.
    Status launch(const std::vector<std::wstring>& words = {});
    Status launchFrom(const fs::path& program, const std::vector<std::wstring>& words = {});
    // Starts it with this text behind the program, as whoever calls by a command line of his own.
    Status launchLine(const std::wstring& tail) { return waitFor(beginLine(tail)); }
    Running begin(const std::vector<std::wstring>& words = {});
    Running beginLine(const std::wstring& tail);
    Running beginFrom(const fs::path& program, const std::vector<std::wstring>& words);
    static Status waitFor(const Running& running);

    fs::path workspace() const;  // the default one of the user
    std::string log() const;     // of the default workspace, line feeds
    std::string tempLog() const;
    // Logs with a time stamp in their names: each start that debugs has one of its own.
    std::vector<std::string> debugLogs() const { return stampedLogs(workspace() / L"logs"); }
    std::string lockLog() const;  // of the one start that ended at the lock, which debugs by itself
    static std::string read(const fs::path& path);  // whole, CR LF as line feeds; empty when missing
    static void write(const fs::path& path, const std::string& content);
    // Copies a file that the build made, by its path below the build directory.
    static void placeProgram(const std::wstring& name, const fs::path& target);

    // What the platform recorded; waits for it.
    std::vector<std::wstring> platformWords() const { return platformWords(workspace()); }
    std::vector<std::wstring> platformWords(const fs::path& directory) const;
    std::wstring platformCommand() const { return platformCommand(workspace()); }
    std::wstring platformCommand(const fs::path& directory) const;
    bool hasWord(const std::wstring& word) const;
    std::wstring wordBehind(const std::wstring& option) const;  // empty without the option
    Variables platformEnvironment() const;
    // The n-th text, from 1 on, that came through the platform's pipe, its NUL included; waits for it.
    std::wstring payload(int number) const;
    bool hasPayload(int number) const;
    std::map<std::string, std::string> platformStart() const;
    // The process that the launcher recorded.
    bool isPlatformRunning() const { return isPlatformRunning(workspace()); }
    bool isPlatformRunning(const fs::path& directory) const;
    std::wstring pipeName() const { return pipeName(workspace()); }
    static std::wstring pipeName(const fs::path& directory);  // as the platform published it
    // Asks the platform to end and waits for that; its records are removed.
    void stopPlatform() { stopPlatform(workspace()); }
    void stopPlatform(const fs::path& directory);
    // Ends it in the middle of whatever it does, as a crash would.
    void crashPlatform();

    // Whether the next launcher of this workspace would get the lock at once.
    bool isLockFree() const;

    // True when the condition holds within this time.
    template <typename Condition>
    static bool eventually(Condition condition, int seconds = 10) {
        constexpr int looksInASecond = 20;
        for (int i = 0; i < seconds * looksInASecond; ++i) {
            if (condition()) {
                return true;
            }
            pause();
        }
        return condition();
    }

private:
    static void pause();
    static std::vector<std::string> stampedLogs(const fs::path& directory);
    Running beginCommand(std::wstring command);

    bool isLaidOut = false;
    std::vector<fs::path> workspaces;  // in which a platform may run
};

bool contains(const std::string& text, const std::string& part);

// A UTF-8 text as the system's; the lines of a text.
std::wstring wide(const std::string& utf8);
std::vector<std::string> linesOf(const std::string& text);
// The bytes of a file; none when it is missing, and a failure when it is there and cannot be read.
std::string bytesOf(const fs::path& path);

std::wstring forward(const fs::path& path);   // with forward slashes
std::wstring backward(const fs::path& path);  // with backslashes

// Whether the user of the tests is in the local Administrators group. Wine makes everybody one.
bool isUserAdministrator();

}  // namespace endtoend
