#pragma once

#include <optional>
#include <string>

namespace explain {

// What is known of a message, from catalogue/messages.json. UTF-8.
struct MessageEntry {
    std::string meaning;
    std::string remedy;  // empty if there is nothing to do
};

// The entry of a log line; nothing if no message of the catalogue has its words.
std::optional<MessageEntry> lookUpMessage(const std::string& line);

}  // namespace explain
