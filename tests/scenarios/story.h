#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "simulation/machine.h"

// Whole starts on the simulated machine, told as stories: an install, what the user has, a command
// line; then what must be on the disk, in the log, in the environment and in the command.
namespace scenarios {

// How the simulated platform behaves that the launcher starts.
struct PlatformBehaviour {
    std::uint32_t publishAfterMilliseconds = 200;  // until `.pipe` and the semaphore are there
    bool publishes = true;
    bool servesPipe = true;
    std::uint32_t livesMilliseconds = 60000;
    int exitCode = 0;
};

// Lines of a property file, by key, in the order in which they were first set.
class PropertyFile {
public:
    void set(const std::string& key, const std::string& value);
    void remove(const std::string& key);
    // A line as it stands, for what is no pair: a JVM option, a comment, damage.
    void addLine(const std::string& line);
    std::string content() const;  // CR LF line ends

private:
    struct Line {
        std::string key;  // empty for a line that is no pair
        std::string text;
    };
    std::vector<Line> lines;
};

class Story : public ::testing::Test {
protected:
    // An install of kind `user` that starts: everything below may be changed before layOut.
    explicit Story(std::uint64_t seed = 1);

    static constexpr const wchar_t* home = L"C:\\Apps\\framework\\Client";
    static constexpr const wchar_t* base = L"C:\\Apps\\framework\\Client\\zel\\eclipse\\plugins\\base_1.0";
    static constexpr const wchar_t* launcher = L"C:\\Apps\\framework\\Client\\zel\\zellauncher.exe";
    static constexpr const wchar_t* nativeLauncher =
        L"C:\\Apps\\framework\\Client\\zel\\eclipse\\plugins\\base_1.0\\win32\\x86_64\\eclipse.exe";
    static constexpr const wchar_t* workspace = L"C:\\Users\\ann\\Mivel\\ZEL\\1234\\ann";

    simulation::Machine machine;
    PropertyFile launcherProperties;  // zel\zellauncher.properties
    PropertyFile baseProperties;      // zelinstall.properties of the base location
    PropertyFile jvmProperties;       // zel\deploy\jvm.properties
    PlatformBehaviour platform;       // of those that start from now on

    // Writes the install to the disk. Called by the first launch when the test has not.
    void layOut();

    // Starts the launcher with these words behind the program and runs it to its end.
    simulation::ProcessEnd launch(const std::vector<std::wstring>& words = {});
    // The same for a launcher of another install, laid out by the test.
    simulation::ProcessEnd launchFrom(const std::wstring& program,
                                      const std::vector<std::wstring>& words = {});
    // Starts it without waiting.
    simulation::ProcessId begin(const std::vector<std::wstring>& words = {});

    // Lets the platform of the last start end, as a user who closes it.
    void closePlatform();

    // The log of the last start with line feeds: of the workspace, or the one in TEMP.
    std::string log() const;
    std::string tempLog() const;
    std::string logAt(const std::wstring& path) const;
    bool logHas(const std::string& line) const;  // a whole line of log()

    // The command of the last child, and its elements as they stand there, quotes included.
    std::wstring command() const;
    std::vector<std::wstring> elements() const;
    bool hasElement(const std::wstring& element) const;
    // The element behind the first one that equals `option`, or empty.
    std::wstring elementBehind(const std::wstring& option) const;
    std::map<std::wstring, std::wstring> childEnvironment() const;
    // The texts that came through the pipes of the platforms, their terminating NUL included.
    std::vector<std::wstring> payloads() const;

    // A file of the user's: below the workspace, and below its configuration directory.
    std::optional<std::string> workspaceFile(const std::wstring& name) const;
    std::optional<std::string> configFile(const std::wstring& name) const;
    std::wstring inWorkspace(const std::wstring& name) const;
    std::wstring inConfig(const std::wstring& name) const;
    // The value of a key in a property file as the launcher's own reader gives it.
    std::optional<std::wstring> valueIn(const std::wstring& path, const std::wstring& key);

    void installVm(const std::wstring& path);  // an executable file without a program

private:
    simulation::ProcessId beginProgram(const std::wstring& program, const std::vector<std::wstring>& words);

    bool isLaidOut = false;
};

inline constexpr std::uint32_t fatalStatus = 0xFFFFFFFFU;

// Asserts a normal end with status 0 / an end by a fatal message.
#define EXPECT_STARTED(end)                                       \
    do {                                                          \
        const simulation::ProcessEnd end_ = (end);                \
        EXPECT_EQ(end_.kind, simulation::EndKind::exited);        \
        EXPECT_EQ(end_.status, 0U) << tempLog() << "\n" << log(); \
    } while (false)
#define EXPECT_FATAL(end)                                  \
    do {                                                   \
        const simulation::ProcessEnd end_ = (end);         \
        EXPECT_EQ(end_.kind, simulation::EndKind::exited); \
        EXPECT_EQ(end_.status, scenarios::fatalStatus);    \
    } while (false)

}  // namespace scenarios
