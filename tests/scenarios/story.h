#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "simulation/machine.h"

// Whole starts on the simulated machine. A test prepares an install and what the user already has, starts
// the launcher with a command line, and checks the disk, the log, the environment and the command.
namespace scenarios {

// The simulated platform that the launcher starts.
struct PlatformBehaviour {
    std::uint32_t publishAfterMilliseconds = 200;  // until `.pipe` and the semaphore exist
    bool publishes = true;
    bool servesPipe = true;
    std::uint32_t frozenMilliseconds = 0;  // after it has published; meanwhile it does not read its pipe
    std::size_t pipeBuffer = 512;          // of a platform that is frozen
    std::uint32_t livesMilliseconds = 60000;
    int exitCode = 0;
    // With this argument, the first platform of a workspace crashes; it leaves `platform.crashed` there.
    std::wstring crashArgument = {};
};

// A property file under construction. Keys keep the order in which they were first set.
class PropertyFile {
public:
    void set(const std::string& key, const std::string& value);
    void remove(const std::string& key);
    // Adds a line that is not `key=value`, such as a JVM option.
    void addLine(const std::string& line);
    std::string content() const;  // CR LF line ends

private:
    struct Line {
        std::string key;  // empty for addLine
        std::string text;
    };
    std::vector<Line> lines;
};

// Plays the platform: holds its semaphore, serves its pipe and writes the pipe file into the workspace after
// `-data`. It ends after its time, or as soon as the workspace has a file `platform.stop`.
int runPlatform(PlatformBehaviour behaviour);

// How a story runs a start to its end, for a program that watches it: with the platform that the start
// creates, the command line, and what begins the launcher. Without one, the machine just runs.
using StartRunner = std::function<simulation::ProcessEnd(simulation::Machine&, const PlatformBehaviour&,
                                                         const std::vector<std::wstring>&,
                                                         const std::function<simulation::ProcessId()>&)>;
extern StartRunner startRunner;

class Story : public ::testing::Test {
protected:
    // An install of kind `user` that starts. The members below may be changed before layOut.
    explicit Story(std::uint64_t seed = 1);

    static constexpr const wchar_t* installDir = L"C:\\Apps\\framework\\Client";
    static constexpr const wchar_t* base = L"C:\\Apps\\framework\\Client\\zel\\eclipse\\plugins\\base_1.0";
    static constexpr const wchar_t* launcher = L"C:\\Apps\\framework\\Client\\zel\\zellauncher.exe";
    static constexpr const wchar_t* nativeLauncher =
        L"C:\\Apps\\framework\\Client\\zel\\eclipse\\plugins\\base_1.0\\win32\\x86_64\\eclipse.exe";
    static constexpr const wchar_t* workspace = L"C:\\Users\\ann\\Mivel\\ZEL\\1234\\ann";
    // The log of a start with -debug before any simulated time has passed.
    static constexpr const wchar_t* firstDebugLog =
        L"C:\\Users\\ann\\Mivel\\ZEL\\1234\\ann\\logs\\zellauncher_20260131_235900_000.log";

    simulation::Machine machine;
    PropertyFile launcherProperties;  // zel\zellauncher.properties
    PropertyFile baseProperties;      // zelinstall.properties of the base location
    PropertyFile jvmProperties;       // zel\deploy\jvm.properties
    PlatformBehaviour platform;       // of the platforms started from now on

    // Writes the install to the disk. The first launch does this if the test has not.
    void layOut();

    // Runs the launcher with these arguments to its end.
    simulation::ProcessEnd launch(const std::vector<std::wstring>& arguments = {});
    // The same for the launcher of another install that the test has laid out.
    simulation::ProcessEnd launchFrom(const std::wstring& program,
                                      const std::vector<std::wstring>& arguments = {});
    // Starts the launcher without waiting for it.
    simulation::ProcessId begin(const std::vector<std::wstring>& arguments = {});

    // Ends the platform that was started last, as a user who closes it.
    void closePlatform();

    // Logs with CR LF as LF: that of the workspace, that in TEMP, any other, and the newest debug log.
    std::string log() const;
    std::string tempLog() const;
    std::string logAt(const std::wstring& path) const;
    std::string lastDebugLog() const;
    // log() has this whole line.
    ::testing::AssertionResult logHas(const std::string& line) const;

    // The last child's command line, and its elements with their quotes.
    std::wstring command() const;
    std::vector<std::wstring> elements() const;
    bool hasElement(const std::wstring& element) const;
    std::map<std::wstring, std::wstring> childEnvironment() const;
    // The texts that the platforms received through their pipes, with the NUL at the end.
    std::vector<std::wstring> payloads() const;

    // The content of a file of the workspace or of its configuration directory.
    std::optional<std::string> workspaceFile(const std::wstring& name) const;
    std::optional<std::string> configFile(const std::wstring& name) const;
    std::wstring inWorkspace(const std::wstring& name) const;
    std::wstring inConfig(const std::wstring& name) const;
    // The value of a key in a property file, read by the launcher's own reader.
    std::optional<std::wstring> valueIn(const std::wstring& path, const std::wstring& key);

private:
    simulation::ProcessEnd runProgram(const std::wstring& program,
                                      const std::vector<std::wstring>& arguments);
    simulation::ProcessId beginProgram(const std::wstring& program,
                                       const std::vector<std::wstring>& arguments);

    bool isLaidOut = false;
};

// Comparisons whose failure prints the whole text.
::testing::AssertionResult contains(std::string_view text, std::string_view part);
::testing::AssertionResult contains(std::wstring_view text, std::wstring_view part);
::testing::AssertionResult endsWith(std::string_view text, std::string_view end);

inline constexpr std::uint32_t fatalStatus = 0xFFFFFFFFU;

// Expects that the launcher ended with status 0, or with a fatal message.
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
