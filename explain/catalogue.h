#pragma once

#include <optional>
#include <string>
#include <vector>

// What is known of messages, keys, options, exit statuses, files and environment variables: the data in
// explain/catalogue. UTF-8. A text is empty if there is nothing to say.
namespace explain {

struct MessageEntry {
    enum class Kind {
        fatal,     // ends the start
        problem,   // something failed and the start goes on; logged in every case
        progress,  // a step of a good start; logged in every case
        detail,    // logged only with -debug, whatever it says
    };

    std::string text;  // one line with its conversions (%ls, %s, %d, %S)
    Kind kind = Kind::detail;
    bool isInEveryGoodStart = false;
    std::string meaning;
    std::string cause;
    std::string remedy;
};

struct KeyEntry {
    std::string key;                 // `<...>` is a part that the packager chooses
    std::vector<std::string> files;  // in which the launcher looks for it
    std::string required;            // what its absence does
    std::string defaultValue;
    std::string meaning;
    std::string pitfall;
};

struct OptionEntry {
    std::string option;
    bool isFromCaller = true;  // otherwise the launcher writes it for the platform
    std::string value;
    std::string meaning;
    std::string pitfall;
};

struct StatusEntry {
    std::string status;
    std::string name;
    std::string meaning;
    std::string pitfall;
    std::string remedy;
};

struct FileEntry {
    std::string path;
    std::string directory;  // the one that the path is relative to
    std::string writer;
    std::string meaning;
    std::string pitfall;
};

struct VariableEntry {
    std::string variable;
    std::string defaultValue;
    std::string meaning;
    std::string pitfall;
};

const std::vector<MessageEntry>& messageEntries();
const std::vector<KeyEntry>& keyEntries();
const std::vector<OptionEntry>& optionEntries();
const std::vector<StatusEntry>& statusEntries();
const std::vector<FileEntry>& fileEntries();
const std::vector<VariableEntry>& variableEntries();

// The entry of a log line; nothing if no message of the catalogue has its words.
std::optional<MessageEntry> lookUpMessage(const std::string& line);

// The entry of a key as it may be written in a property file; null if it is unknown.
const KeyEntry* lookUpKey(const std::string& key);

}  // namespace explain
