#include "explain/catalogue.h"

#include <algorithm>
#include <map>
#include <nlohmann/json.hpp>
#include <string_view>

namespace explain {

// The files of explain/catalogue, generated from them.
extern const char* const messagesCatalogue;
extern const char* const keysCatalogue;
extern const char* const optionsCatalogue;
extern const char* const statusesCatalogue;
extern const char* const filesCatalogue;
extern const char* const environmentCatalogue;

namespace {

using nlohmann::json;

std::string textOf(const json& entry, const char* name) {
    return entry.value(name, std::string());
}

template <typename Entry, typename Reader>
std::vector<Entry> readAll(const char* text, Reader read) {
    std::vector<Entry> entries;
    for (const json& entry : json::parse(text)) {
        entries.push_back(read(entry));
    }
    return entries;
}

MessageEntry::Kind kindOf(const std::string& name) {
    static const std::map<std::string, MessageEntry::Kind> kinds = {
        {"fatal", MessageEntry::Kind::fatal},
        {"problem", MessageEntry::Kind::problem},
        {"progress", MessageEntry::Kind::progress},
        {"detail", MessageEntry::Kind::detail},
    };
    return kinds.at(name);
}

MessageEntry readMessage(const json& entry) {
    return {entry.at("text").get<std::string>(),
            kindOf(entry.at("kind").get<std::string>()),
            entry.value("inEveryGoodStart", false),
            entry.at("meaning").get<std::string>(),
            textOf(entry, "cause"),
            textOf(entry, "remedy")};
}

KeyEntry readKey(const json& entry) {
    return {entry.at("key").get<std::string>(),
            entry.at("files").get<std::vector<std::string>>(),
            textOf(entry, "required"),
            textOf(entry, "default"),
            entry.at("meaning").get<std::string>(),
            textOf(entry, "pitfall")};
}

OptionEntry readOption(const json& entry) {
    return {entry.at("option").get<std::string>(), entry.at("from").get<std::string>() == "caller",
            textOf(entry, "value"), entry.at("meaning").get<std::string>(), textOf(entry, "pitfall")};
}

StatusEntry readStatus(const json& entry) {
    return {entry.at("status").get<std::string>(), entry.at("name").get<std::string>(),
            entry.at("meaning").get<std::string>(), textOf(entry, "pitfall"), textOf(entry, "remedy")};
}

FileEntry readFile(const json& entry) {
    return {entry.at("path").get<std::string>(), entry.at("in").get<std::string>(),
            entry.at("writer").get<std::string>(), entry.at("meaning").get<std::string>(),
            textOf(entry, "pitfall")};
}

VariableEntry readVariable(const json& entry) {
    return {entry.at("variable").get<std::string>(), textOf(entry, "default"),
            entry.at("meaning").get<std::string>(), textOf(entry, "pitfall")};
}

// The texts between `%ls`, `%s`, `%S` and `%d`.
std::vector<std::string> splitAtConversions(std::string_view text) {
    std::vector<std::string> words(1);
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] != '%') {
            words.back() += text[i];
            continue;
        }
        i += text.substr(i).starts_with("%ls") ? 2U : 1U;
        words.emplace_back();
    }
    return words;
}

bool matches(const std::vector<std::string>& words, std::string_view line) {
    if (!line.starts_with(words.front())) {
        return false;
    }
    std::size_t position = words.front().size();
    for (std::size_t i = 1; i < words.size(); ++i) {
        const std::size_t found = line.find(words[i], position);
        if (found == std::string_view::npos) {
            return false;
        }
        position = found + words[i].size();
    }
    return words.size() > 1 || position == line.size();
}

// A message and the words between its conversions.
struct Pattern {
    std::vector<std::string> words;
    const MessageEntry* message = nullptr;
};

constexpr std::size_t identifierLength = 10;  // of `ZLNCH0001E`; other messages are grouped by as much

// Patterns by the beginning of their text, because every line of thousands of logs is looked up.
std::multimap<std::string, Pattern> readPatterns() {
    std::multimap<std::string, Pattern> patterns;
    for (const MessageEntry& message : messageEntries()) {
        Pattern pattern{splitAtConversions(message.text), &message};
        const std::string beginning = pattern.words.front().substr(0, identifierLength);
        patterns.emplace(beginning.size() < identifierLength ? std::string() : beginning, std::move(pattern));
    }
    return patterns;
}

// True if the key is the entry's, with something for each `<...>`.
bool isKeyOf(std::string_view entry, std::string_view key) {
    const std::size_t open = entry.find('<');
    if (open == std::string_view::npos) {
        return entry == key;
    }
    if (!key.starts_with(entry.substr(0, open))) {
        return false;
    }
    const std::size_t close = entry.find('>', open);
    const std::string_view rest = entry.substr(close + 1);
    const std::string_view chosen = key.substr(open);
    if (entry.substr(open, close + 1 - open) == "<n>") {
        return rest.empty() && !chosen.empty() &&
               chosen.find_first_not_of("0123456789") == std::string_view::npos;
    }
    if (rest.empty()) {
        return !chosen.empty();
    }
    for (std::size_t length = 1; length < chosen.size(); ++length) {
        if (isKeyOf(rest, chosen.substr(length))) {
            return true;
        }
    }
    return false;
}

// How much of the entry's key is not `<...>`: of several entries, the one with the most is meant.
std::size_t fixedLength(std::string_view entry) {
    std::size_t length = 0;
    bool isFixed = true;
    for (const char letter : entry) {
        isFixed = isFixed && letter != '<';
        length += isFixed ? 1U : 0U;
        isFixed = isFixed || letter == '>';
    }
    return length;
}

}  // namespace

const std::vector<MessageEntry>& messageEntries() {
    static const auto entries = readAll<MessageEntry>(messagesCatalogue, readMessage);
    return entries;
}

const std::vector<KeyEntry>& keyEntries() {
    static const auto entries = readAll<KeyEntry>(keysCatalogue, readKey);
    return entries;
}

const std::vector<OptionEntry>& optionEntries() {
    static const auto entries = readAll<OptionEntry>(optionsCatalogue, readOption);
    return entries;
}

const std::vector<StatusEntry>& statusEntries() {
    static const auto entries = readAll<StatusEntry>(statusesCatalogue, readStatus);
    return entries;
}

const std::vector<FileEntry>& fileEntries() {
    static const auto entries = readAll<FileEntry>(filesCatalogue, readFile);
    return entries;
}

const std::vector<VariableEntry>& variableEntries() {
    static const auto entries = readAll<VariableEntry>(environmentCatalogue, readVariable);
    return entries;
}

std::optional<MessageEntry> lookUpMessage(const std::string& line) {
    static const std::multimap<std::string, Pattern> patterns = readPatterns();
    for (const std::string& beginning : {line.substr(0, identifierLength), std::string()}) {
        const auto [first, last] = patterns.equal_range(beginning);
        const auto found =
            std::find_if(first, last, [&](const auto& entry) { return matches(entry.second.words, line); });
        if (found != last) {
            return *found->second.message;
        }
    }
    return std::nullopt;
}

const KeyEntry* lookUpKey(const std::string& key) {
    const KeyEntry* best = nullptr;
    for (const KeyEntry& entry : keyEntries()) {
        if (isKeyOf(entry.key, key) && (best == nullptr || fixedLength(entry.key) > fixedLength(best->key))) {
            best = &entry;
        }
    }
    return best;
}

}  // namespace explain
