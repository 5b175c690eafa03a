#pragma once

#include <filesystem>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "explain/sides.h"

// What zelexplain.exe says about a start before it is performed, for a comparison with what the start does.
namespace endtoend {

// Content by full path in lower case; the path of a directory ends in a backslash, and its content is empty.
using Contents = std::map<std::wstring, std::string>;

// Everything below a test's directory except what zelexplain does not list: the launcher's logs, pipe files,
// and what the stand-in records.
Contents contentsOf(const std::filesystem::path& directory);

// The stand-in's records in the workspaces below the directory.
Contents recordsOf(const std::filesystem::path& directory);

// Content of the first entry of `after` whose path contains the text and is not in `before`.
std::optional<std::string> newEntry(const Contents& before, const Contents& after, const std::wstring& text);

// The lines of a log file, or of the newest one if the path has another time stamp.
explaintest::Lines logLines(const std::filesystem::path& path);

struct ExplainedStart {
    explaintest::Side said;               // without files and directories
    Contents after;                       // what the test's directory should have after the start
    std::vector<std::wstring> movedFrom;  // what is in `after` below these may also be missing
    std::filesystem::path logPath;        // empty if the start logs nothing
};

// Reads zelexplain's JSON. Applies the changes that it lists to what the test's directory had before.
ExplainedStart readExplanation(const std::string& json, Contents before);

// Adds the differences between what the directory should have and what it has.
void compareContents(explaintest::Differences& differences, const ExplainedStart& start,
                     const Contents& real);

}  // namespace endtoend
