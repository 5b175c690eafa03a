#include "explain/catalogue.h"

#include <nlohmann/json.hpp>
#include <string_view>
#include <vector>

namespace explain {

// catalogue/messages.json, generated from it.
extern const char* const messageCatalogue;

namespace {

struct Message {
    std::vector<std::string> words;  // of the text between its conversions
    MessageEntry entry;
};

// The texts between `%ls`, `%s` and `%d`.
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

std::vector<Message> readCatalogue() {
    std::vector<Message> messages;
    for (const nlohmann::json& entry : nlohmann::json::parse(messageCatalogue)) {
        messages.push_back({splitAtConversions(entry.at("text").get<std::string>()),
                            {entry.at("meaning").get<std::string>(), entry.value("remedy", "")}});
    }
    return messages;
}

}  // namespace

std::optional<MessageEntry> lookUpMessage(const std::string& line) {
    static const std::vector<Message> messages = readCatalogue();
    for (const Message& message : messages) {
        if (matches(message.words, line)) {
            return message.entry;
        }
    }
    return std::nullopt;
}

}  // namespace explain
