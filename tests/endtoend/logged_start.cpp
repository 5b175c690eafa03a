#include "logged_start.h"

#include <windows.h>

#include <set>

#include "endtoend.h"
#include "explain/log/log_reading.h"
#include "explain/sides.h"

namespace endtoend {

namespace {

// Directories in which there is neither a log nor a record of a platform, but many files.
bool isSkipped(const fs::path& directory) {
    const std::set<std::wstring> names = {L"zel",     L"jvm",        L"standin",
                                          L".config", L".configbak", L".metadata"};
    return names.count(directory.filename().wstring()) != 0;
}

// In units of 100 nanoseconds. The runtime's time of a file has only seconds, and a launcher may run several
// times in one.
std::uint64_t writeTimeOf(const fs::path& path) {
    WIN32_FILE_ATTRIBUTE_DATA data = {};
    GetFileAttributesExW(path.c_str(), GetFileExInfoStandard, &data);
    return (std::uint64_t{data.ftLastWriteTime.dwHighDateTime} << 32U) | data.ftLastWriteTime.dwLowDateTime;
}

// Calls `visit` with each file; a platform may make and remove files meanwhile.
template <typename Visit>
void forEachFile(const fs::path& directory, Visit visit) {
    std::error_code ignored;
    fs::recursive_directory_iterator walk(directory, ignored);
    for (const fs::recursive_directory_iterator end; walk != end; walk.increment(ignored)) {
        if (isSkipped(walk->path())) {
            walk.disable_recursion_pending();
        } else {
            visit(*walk);
        }
    }
}

std::map<fs::path, std::string> recordsBelow(const fs::path& root) {
    std::map<fs::path, std::string> records;
    forEachFile(root, [&](const fs::directory_entry& entry) {
        if (entry.path().filename() == L".zel.main") {
            records[entry.path()] = bytesOf(entry.path());
        }
    });
    return records;
}

}  // namespace

std::vector<fs::path> platformDirectories(const fs::path& root) {
    std::vector<fs::path> directories;
    for (const auto& [path, record] : recordsBelow(root)) {
        directories.push_back(path.parent_path());
    }
    return directories;
}

LoggedStart::LoggedStart(const fs::path& testDirectory)
    : root(testDirectory), logs(logsBelow(testDirectory)), records(recordsBelow(testDirectory)) {}

LoggedStart::Times LoggedStart::logsBelow(const fs::path& directory) {
    Times times;
    forEachFile(directory, [&](const fs::directory_entry& entry) {
        if (explaintest::isLog(entry.path().wstring())) {
            times[entry.path()] = writeTimeOf(entry.path());
        }
    });
    return times;
}

bool LoggedStart::hasStartedAProcess() const {
    return recordsBelow(root) != records;
}

std::vector<std::string> LoggedStart::differences(std::optional<std::uint32_t> status,
                                                  std::size_t expectedLogs,
                                                  const std::optional<std::string>& outcome) const {
    std::vector<fs::path> written;
    for (const auto& [path, time] : logsBelow(root)) {
        const auto former = logs.find(path);
        if (former == logs.end() || former->second != time) {
            written.push_back(path);
        }
    }
    if (!status) {
        return {"the launcher did not end in time"};
    }
    if (written.size() != expectedLogs) {
        return {std::to_string(written.size()) + " logs were written instead of " +
                std::to_string(expectedLogs)};
    }
    if (written.empty()) {
        return {};
    }
    const explain::LogResult result = explain::readLog(bytesOf(written.front()));
    const std::string said = result.fault == explain::LogFault::none ? explain::nameOf(result.reading.outcome)
                                                                     : explain::describe(result.fault);
    const bool isStarted = said == "started" || said == "provisioned";
    std::vector<std::string> all;
    if (outcome && said != *outcome) {
        all.push_back("the log says " + said + ", the outcome is " + *outcome);
    }
    if ((said == "refused") != (*status != 0U) || said == "unfinished") {
        all.push_back("the log says " + said + ", the status is " + std::to_string(*status));
    }
    if (result.reading.status.value_or(0) != static_cast<std::int32_t>(*status)) {
        all.push_back("the log has status " + std::to_string(result.reading.status.value_or(0)) +
                      " instead of " + std::to_string(static_cast<std::int32_t>(*status)));
    }
    if (isStarted != hasStartedAProcess()) {
        all.push_back("the log says " + said + ", but a process was " + (isStarted ? "not " : "") +
                      "started");
    }
    return all;
}

}  // namespace endtoend
