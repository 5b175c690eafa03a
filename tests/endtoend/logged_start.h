#pragma once

#include <cstdint>
#include <filesystem>
#include <map>
#include <optional>
#include <string>
#include <vector>

// Whether the log of a start says what happened, read as `zelexplain log` reads it.
namespace endtoend {

// The workspaces below a test's directory in which a platform has been started.
std::vector<std::filesystem::path> platformDirectories(const std::filesystem::path& root);

// Looks at the logs below a test's directory before a start, and compares afterwards. Only for a start during
// which no other launcher runs.
class LoggedStart {
public:
    explicit LoggedStart(const std::filesystem::path& testDirectory);

    // What the start's log says differently, or that there is not this number of logs. Without an outcome,
    // whether the start was refused, or created a process.
    std::vector<std::string> differences(std::optional<std::uint32_t> status, std::size_t expectedLogs,
                                         const std::optional<std::string>& outcome = {}) const;

private:
    // Log files, with the time of the last write in units of 100 nanoseconds.
    using Times = std::map<std::filesystem::path, std::uint64_t>;

    std::filesystem::path root;
    Times logs;
    std::map<std::filesystem::path, std::string> records;  // process ids of platforms

    static Times logsBelow(const std::filesystem::path& directory);
    bool hasStartedAProcess() const;
};

}  // namespace endtoend
