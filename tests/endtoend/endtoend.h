#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <filesystem>
#include <map>
#include <optional>
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
    std::map<std::wstring, std::wstring> environment;  // on top of the launcher's usual variables

    // Lines of the files of the install; changed before the first start, or written again by layOut.
    std::vector<std::pair<std::string, std::string>> launcherProperties;
    std::vector<std::string> baseLines;
    std::vector<std::string> jvmLines;
    std::vector<std::string> scriptLines;  // of the stand-in

    void setProperty(const std::string& key, const std::string& value);
    void removeProperty(const std::string& key);
    void layOut();

    // Starts the launcher with these words behind the program and waits for its end.
    Status launch(const std::vector<std::wstring>& words = {});
    Status launchFrom(const fs::path& program, const std::vector<std::wstring>& words = {});
    Running begin(const std::vector<std::wstring>& words = {});
    Running beginFrom(const fs::path& program, const std::vector<std::wstring>& words);
    static Status waitFor(const Running& running);

    fs::path workspace() const;  // the default one of the user
    std::string log() const;     // of the default workspace, line feeds
    std::string tempLog() const;
    static std::string read(const fs::path& path);  // whole, CR LF as line feeds; empty when missing
    static void write(const fs::path& path, const std::string& content);

    // What the platform recorded; waits for it.
    std::vector<std::wstring> platformWords() const { return platformWords(workspace()); }
    std::vector<std::wstring> platformWords(const fs::path& directory) const;
    std::wstring platformCommand() const { return platformCommand(workspace()); }
    std::wstring platformCommand(const fs::path& directory) const;
    std::map<std::wstring, std::wstring> platformEnvironment() const;
    std::map<std::string, std::string> platformStart() const;
    bool isPlatformRunning(const fs::path& directory) const;
    // Asks the platform to end and waits for that; its records are removed.
    void stopPlatform() { stopPlatform(workspace()); }
    void stopPlatform(const fs::path& directory);

    // True when the condition holds within ten seconds.
    template <typename Condition>
    static bool eventually(Condition condition) {
        for (int i = 0; i < 200; ++i) {
            if (condition()) {
                return true;
            }
            pause();
        }
        return condition();
    }

private:
    static void pause();
    static void placeProgram(const std::wstring& name, const fs::path& target);

    bool isLaidOut = false;
    std::vector<fs::path> workspaces;  // in which a platform may run
};

bool contains(const std::string& text, const std::string& part);

}  // namespace endtoend
