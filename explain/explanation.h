#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "explain/check/finding.h"
#include "explain/place.h"

// What a start does, as plain data. The writers make text, JSON and a page of it. Texts are those of the
// simulated machine, except where a comment says UTF-8.
namespace explain {

// Where a value came from.
struct ValueSource {
    enum class Kind { file, argument, environment, defaultValue, found };

    Kind kind = Kind::defaultValue;
    std::wstring file;     // of kind file and found, as in Place
    std::size_t line = 0;  // of kind file
    std::wstring name;     // the key, option or variable
    // Of a value from the user's own properties: the line that it was made from.
    std::optional<Place> origin;
};

// A place that was looked at on the way to a decision.
struct Considered {
    enum class Result { missing, present, overridden };

    ValueSource source;
    Result result = Result::missing;
    std::wstring value;
};

struct Decision {
    std::string subject;                // as in the schema
    std::optional<std::wstring> value;  // nothing if the start ended before
    ValueSource source;
    std::vector<Considered> considered;
};

struct Element {
    std::wstring text;  // as it appears in the command
    std::string section;
    ValueSource source;
};

struct FileChange {
    enum class Kind { made, changed, moved, removed };

    Kind kind = Kind::made;
    std::wstring path;
    std::wstring from;  // of a moved one
    bool isDirectory = false;
    std::string content;
    std::string formerContent;
};

struct Wait {
    std::string reason;
    std::uint64_t milliseconds = 0;                  // as long as it lasted here
    std::optional<std::uint64_t> limitMilliseconds;  // none: without limit
};

// Why a start failed, for people. UTF-8.
struct Failure {
    struct Cause {
        std::string text;
        std::optional<Place> place;
    };

    std::string meaning;
    std::vector<Cause> causes;  // in this install, the most likely first
    std::string remedy;
};

enum class Outcome { started, provisioned, handedOver, prepared, shellRole, refused };
enum class Role { unknown, mainProcess, daemon };

struct Explanation {
    Outcome outcome = Outcome::refused;
    std::optional<std::int32_t> status;  // nothing if the launcher was still waiting
    std::optional<std::string> message;  // the fatal line, UTF-8
    std::optional<Failure> failure;
    Role role = Role::unknown;
    std::vector<Decision> decisions;
    std::optional<std::wstring> command;
    std::vector<Element> elements;
    std::map<std::wstring, std::wstring> setVariables;
    std::vector<std::wstring> unsetVariables;
    std::vector<FileChange> files;
    std::vector<std::wstring> madeDirectories;
    std::vector<std::wstring> removedDirectories;
    std::vector<std::string> log;  // UTF-8
    std::optional<std::wstring> logPath;
    std::vector<Wait> waits;
    std::vector<std::string> assumptions;  // what the machine has although no directory shows it, UTF-8

    Findings findings;  // mistakes in the install that bear on the start

    // What was started, for the writers.
    std::wstring installPath;
    std::vector<std::wstring> arguments;
    std::wstring user;
    std::map<std::wstring, std::wstring> environment;
};

}  // namespace explain
