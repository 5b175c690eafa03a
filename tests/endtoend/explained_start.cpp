#include "explained_start.h"

#include <gtest/gtest.h>
#include <windows.h>

#include <algorithm>
#include <nlohmann/json.hpp>
#include <regex>

#include "endtoend.h"
#include "explain/encoding.h"
#include "support/text.h"

namespace endtoend {

namespace {

using Json = nlohmann::json;
using launchertest::fromUtf8;
using launchertest::toUtf8;

// Starts that zelexplain cannot describe.
struct Exception {
    const char* test;
    int start;  // of those of the test that are explained, from 1
    const char* reason;
};

constexpr Exception exceptions[] = {
    {"OnePlatform.InaccessiblePlatformIsFatal", 2, "the platform's semaphore may not be opened"},
    {"Renewals.OpenDirectoryStopsTheResetBeforeTheMove", 2, "the test keeps a directory open"},
    {"Renewals.OpenFileStopsTheResetBeforeTheMove", 2, "the test keeps a file open"},
};

int compared = 0;

std::wstring lowerCase(std::wstring path) {
    CharLowerBuffW(path.data(), static_cast<DWORD>(path.size()));
    return path;
}

bool isRecord(const std::wstring& path) {
    return path.find(L"\\standin\\") != std::wstring::npos;
}

bool isListed(const std::wstring& path) {
    return !isRecord(path) && !explaintest::isLog(path) && !explaintest::isPipeFile(path);
}

// Of a file or directory as the start of a key in Contents.
std::wstring keyOf(const Json& path) {
    return lowerCase(fromUtf8(path.get<std::string>()));
}

bool isWithin(const std::wstring& key, const std::wstring& path) {
    return key == path || key.starts_with(path + L"\\");
}

// Another program may keep a file in use, and programs never change.
std::string comparedContent(const fs::path& file) {
    if (file.extension() == L".exe") {
        return {};
    }
    return contentOf(file).value_or("(in use)");
}

// The lock file is never cut, so its blanks depend on the longest process id that it has had.
std::string withoutPadding(const std::wstring& key, const std::string& content) {
    return key.ends_with(L"\\.zel.lock") ? content.substr(0, content.find_last_not_of(' ') + 1) : content;
}

template <typename Accepts>
Contents entriesOf(const fs::path& directory, Accepts accepts) {
    Contents contents;
    for (const fs::directory_entry& entry : fs::recursive_directory_iterator(directory)) {
        std::wstring key = lowerCase(entry.path().wstring());
        key += entry.is_directory() ? L"\\" : L"";
        if (accepts(key)) {
            contents[key] = entry.is_directory() ? std::string() : comparedContent(entry.path());
        }
    }
    return contents;
}

// Whatever was at the new place is gone. Directories stay listed at the old place, because one that the start
// made again has no entry.
void move(Contents& contents, const std::wstring& from, const std::wstring& to) {
    std::erase_if(contents, [&](const auto& entry) { return isWithin(entry.first, to); });
    Contents moved;
    for (const auto& [key, content] : contents) {
        if (isWithin(key, from)) {
            moved[to + key.substr(from.size())] = content;
        }
    }
    std::erase_if(contents, [&](const auto& entry) {
        return isWithin(entry.first, from) && !entry.first.ends_with(L'\\');
    });
    contents.merge(moved);
}

// A moved directory is one change; what differs below it is listed besides.
void apply(ExplainedStart& start, const Json& explanation) {
    Contents& contents = start.after;
    for (const Json& file : explanation.at("files")) {
        if (file.at("change") == "moved") {
            move(contents, keyOf(file.at("from")), keyOf(file.at("path")));
            start.movedFrom.push_back(keyOf(file.at("from")));
        }
    }
    for (const Json& file : explanation.at("files")) {
        if (file.at("change") == "removed") {
            contents.erase(keyOf(file.at("path")));
        } else if (file.at("content").is_string()) {
            contents[keyOf(file.at("path"))] = file.at("content");
        }
    }
    for (const Json& directory : explanation.at("directories")) {
        contents[keyOf(directory) + L"\\"] = "";
    }
    for (const Json& directory : explanation.at("removedDirectories")) {
        contents.erase(keyOf(directory) + L"\\");
    }
}

explaintest::Lines environmentOf(const Json& environment) {
    std::map<std::wstring, std::wstring> set;
    std::vector<std::wstring> unset;
    for (const auto& [name, value] : environment.at("set").items()) {
        set[fromUtf8(name)] = fromUtf8(value.get<std::string>());
    }
    for (const Json& name : environment.at("unset")) {
        unset.push_back(fromUtf8(name.get<std::string>()));
    }
    return changedVariables(set, unset);
}

std::string textOrNothing(const Json& text) {
    return text.is_string() ? text.get<std::string>() : std::string();
}

}  // namespace

explaintest::Lines changedVariables(const std::map<std::wstring, std::wstring>& set,
                                    const std::vector<std::wstring>& unset) {
    std::map<std::wstring, std::wstring> lowerSet;
    std::vector<std::wstring> lowerUnset;
    for (const auto& [name, value] : set) {
        lowerSet[lowerCase(name)] = value;
    }
    std::transform(unset.begin(), unset.end(), std::back_inserter(lowerUnset), lowerCase);
    return explaintest::environmentLines(lowerSet, lowerUnset);
}

Contents contentsOf(const fs::path& directory) {
    return entriesOf(directory, isListed);
}

Contents recordsOf(const fs::path& directory) {
    return entriesOf(directory, isRecord);
}

std::optional<std::string> newEntry(const Contents& before, const Contents& after, const std::wstring& text) {
    const auto found = std::find_if(after.begin(), after.end(), [&](const auto& entry) {
        return entry.first.find(text) != std::wstring::npos && before.count(entry.first) == 0;
    });
    return found != after.end() ? std::optional<std::string>(found->second) : std::nullopt;
}

std::optional<std::wstring> newPlatform(const Contents& before, const Contents& after) {
    constexpr std::wstring_view name = L"start.txt";
    for (const auto& [path, content] : after) {
        const auto former = before.find(path);
        const bool isNew =
            path.ends_with(L"\\standin\\start.txt") && (former == before.end() || former->second != content);
        const std::wstring directory = isNew ? path.substr(0, path.size() - name.size()) : std::wstring();
        if (isNew && after.count(directory + L"running.txt") != 0) {
            return directory;
        }
    }
    return std::nullopt;
}

explaintest::Lines logLines(const fs::path& path) {
    fs::path newest = path;
    if (path.empty()) {
        return {};
    }
    if (!fs::exists(path) && fs::is_directory(path.parent_path())) {
        newest.clear();
        for (const fs::directory_entry& entry : fs::directory_iterator(path.parent_path())) {
            const bool isStamped = entry.path().filename().wstring().starts_with(L"zellauncher_");
            newest = isStamped ? std::max(newest, entry.path()) : newest;
        }
    }
    explaintest::Lines lines = launchertest::splitLines(newest.empty() ? std::string() : bytesOf(newest));
    for (std::string& line : lines) {
        line = explain::logLineToUtf8(line);
    }
    return lines;
}

explaintest::Lines withoutSystemTexts(explaintest::Lines log) {
    static const std::regex text("(ailed with error [0-9]+: ).*");
    for (std::string& line : log) {
        line = std::regex_replace(line, text, "$1<text>");
        line.erase(line.find_last_not_of('\r') + 1);
    }
    return log;
}

ExplainedStart readExplanation(const std::string& json, Contents before) {
    const Json explanation = Json::parse(json);
    ExplainedStart start;
    start.said.outcome = explanation.at("outcome");
    start.said.status = explanation.at("status");
    start.said.command = textOrNothing(explanation.at("command"));
    start.said.environment = environmentOf(explanation.at("environment"));
    start.said.log = explanation.at("log").get<explaintest::Lines>();
    start.logPath = fromUtf8(textOrNothing(explanation.at("logPath")));
    start.after = std::move(before);
    apply(start, explanation);
    return start;
}

bool isProvisioning(const std::string& command) {
    return command.find("com.example.prov") != std::string::npos ||
           command.find("-userProvLaunch") != std::string::npos;
}

void reportDifferences(const explaintest::Differences& differences, int start) {
    const testing::TestInfo& test = *testing::UnitTest::GetInstance()->current_test_info();
    const std::string name = std::string(test.test_suite_name()) + "." + test.name();
    const auto* const exception =
        std::find_if(std::begin(exceptions), std::end(exceptions),
                     [&](const Exception& one) { return one.test == name && one.start == start; });
    if (exception != std::end(exceptions)) {
        EXPECT_FALSE(differences.all.empty()) << "start " << start << " does not differ";
        return;
    }
    ++compared;
    for (const std::string& difference : differences.all) {
        ADD_FAILURE() << "start " << start << ": " << difference;
    }
}

int comparedStarts() {
    return compared;
}

void compareContents(explaintest::Differences& differences, const ExplainedStart& start, Contents real) {
    const Contents& said = start.after;
    // A start can also make something outside of the test's directory.
    for (const auto& [key, ignored] : said) {
        if (real.count(key) == 0 && fs::exists(key)) {
            real[key] = key.ends_with(L'\\') ? std::string() : bytesOf(key);
        }
    }
    Contents all = said;
    all.insert(real.begin(), real.end());
    for (const auto& [key, ignored] : all) {
        const auto ours = said.find(key);
        const auto theirs = real.find(key);
        const bool mayBeMissing =
            key.ends_with(L'\\') &&
            std::any_of(start.movedFrom.begin(), start.movedFrom.end(),
                        [&, path = key](const std::wstring& from) { return isWithin(path, from); });
        if (theirs == real.end() && mayBeMissing) {
            continue;
        }
        if (ours == said.end() || theirs == real.end()) {
            differences.all.push_back(
                toUtf8(key) + (ours == said.end() ? ": only the start has it" : ": only zelexplain has it"));
        } else {
            differences.compare(toUtf8(key), withoutPadding(key, ours->second),
                                withoutPadding(key, theirs->second));
        }
    }
}

}  // namespace endtoend
