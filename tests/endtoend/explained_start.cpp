#include "explained_start.h"

#include <windows.h>

#include <algorithm>
#include <nlohmann/json.hpp>

#include "endtoend.h"
#include "support/text.h"

namespace endtoend {

namespace {

using Json = nlohmann::json;
using launchertest::fromUtf8;
using launchertest::toUtf8;

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

template <typename Accepts>
Contents entriesOf(const fs::path& directory, Accepts accepts) {
    Contents contents;
    for (const fs::directory_entry& entry : fs::recursive_directory_iterator(directory)) {
        std::wstring key = lowerCase(entry.path().wstring());
        key += entry.is_directory() ? L"\\" : L"";
        if (accepts(key)) {
            const bool isProgram = key.ends_with(L".exe");
            contents[key] = entry.is_directory() || isProgram ? std::string() : bytesOf(entry.path());
        }
    }
    return contents;
}

// The old place keeps its entries here: the start may have made the same ones again, which are no difference.
void move(Contents& contents, const std::wstring& from, const std::wstring& to) {
    std::erase_if(contents, [&](const auto& entry) { return isWithin(entry.first, to); });
    Contents moved;
    for (const auto& [key, content] : contents) {
        if (isWithin(key, from)) {
            moved[to + key.substr(from.size())] = content;
        }
    }
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
    return explaintest::environmentLines(set, unset);
}

std::string textOrNothing(const Json& text) {
    return text.is_string() ? text.get<std::string>() : std::string();
}

}  // namespace

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

explaintest::Lines logLines(const fs::path& path) {
    fs::path newest = path;
    if (!fs::exists(path) && fs::is_directory(path.parent_path())) {
        newest.clear();
        for (const fs::directory_entry& entry : fs::directory_iterator(path.parent_path())) {
            const bool isStamped = entry.path().filename().wstring().starts_with(L"zellauncher_");
            newest = isStamped ? std::max(newest, entry.path()) : newest;
        }
    }
    return launchertest::splitLines(newest.empty() ? std::string() : bytesOf(newest));
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

void compareContents(explaintest::Differences& differences, const ExplainedStart& start,
                     const Contents& real) {
    const Contents& said = start.after;
    Contents all = said;
    all.insert(real.begin(), real.end());
    for (const auto& [key, ignored] : all) {
        const auto ours = said.find(key);
        const auto theirs = real.find(key);
        const bool mayBeMissing =
            std::any_of(start.movedFrom.begin(), start.movedFrom.end(),
                        [&, path = key](const std::wstring& from) { return isWithin(path, from); });
        if (theirs == real.end() && mayBeMissing) {
            continue;
        }
        if (ours == said.end() || theirs == real.end()) {
            differences.all.push_back(
                toUtf8(key) + (ours == said.end() ? ": only the start has it" : ": only zelexplain has it"));
        } else {
            differences.compare(toUtf8(key), ours->second, theirs->second);
        }
    }
}

}  // namespace endtoend
