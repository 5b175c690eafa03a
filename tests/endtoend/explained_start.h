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

// A change of the environment as lines, with names in lower case: a variable that is set again keeps its name
// on Windows, and under Wine gets the new one.
explaintest::Lines changedVariables(const std::map<std::wstring, std::wstring>& set,
                                    const std::vector<std::wstring>& unset);

// Everything below a test's directory except what zelexplain does not list: the launcher's logs, pipe files,
// and what the stand-in records.
Contents contentsOf(const std::filesystem::path& directory);

// The stand-in's records in the workspaces below the directory.
Contents recordsOf(const std::filesystem::path& directory);

// Content of the first entry of `after` whose path contains the text and is not in `before`.
std::optional<std::string> newEntry(const Contents& before, const Contents& after, const std::wstring& text);

// Where the platform keeps its records, as the beginning of keys, that has been started between `before` and
// `after` and has written them all. Its process id distinguishes it from one of the same workspace before.
std::optional<std::wstring> newPlatform(const Contents& before, const Contents& after);

// The lines of a log file, or of the newest one if the path has another time stamp. Without a path none.
explaintest::Lines logLines(const std::filesystem::path& path);

// The system's text for an error is replaced: Wine's differ from those of Windows.
explaintest::Lines withoutSystemTexts(explaintest::Lines log);

struct ExplainedStart {
    explaintest::Side said;               // without files and directories
    Contents after;                       // what the test's directory should have after the start
    std::vector<std::wstring> movedFrom;  // directories in `after` below these may also be missing
    std::filesystem::path logPath;        // empty if the start logs nothing
};

// Reads zelexplain's JSON. Applies the changes that it lists to what the test's directory had before.
ExplainedStart readExplanation(const std::string& json, Contents before);

// Whether a platform's command runs the provisioning application.
bool isProvisioning(const std::string& command);

// Adds the differences between what the directory should have and what it has.
void compareContents(explaintest::Differences& differences, const ExplainedStart& start, Contents real);

// Fails the current test with the differences of its n-th explained start, unless that start is a known
// exception. An exception without a difference fails the test, too.
void reportDifferences(const explaintest::Differences& differences, int start);

// How many starts have been compared, except the exceptions.
int comparedStarts();

}  // namespace endtoend
