#include "explain/log/log_writer.h"

#include <algorithm>
#include <map>
#include <nlohmann/json.hpp>

namespace explain {

namespace {

using Json = nlohmann::ordered_json;

constexpr std::size_t shownFiles = 5;  // of a group, in the text

// Logs with the same outcome for the same reason.
struct Group {
    LogOutcome outcome = LogOutcome::unfinished;
    std::string reason;  // the message's words, or a hint
    const LogReading* example = nullptr;
    std::vector<std::string> files;
};

std::string reasonOf(const LogReading& reading) {
    if (reading.entry) {
        return reading.entry->text;
    }
    return reading.hints.empty() ? std::string() : reading.hints.front();
}

// The most frequent first.
std::vector<Group> groupsOf(const LogFiles& files) {
    std::map<std::pair<LogOutcome, std::string>, Group> groups;
    for (const ReadLogFile& log : files.logs) {
        const std::string reason = reasonOf(log.reading);
        Group& group = groups[{log.reading.outcome, reason}];
        group.outcome = log.reading.outcome;
        group.reason = reason;
        group.example = &log.reading;
        group.files.push_back(log.file);
    }
    std::vector<Group> sorted;
    for (auto& [key, group] : groups) {
        sorted.push_back(std::move(group));
    }
    std::stable_sort(sorted.begin(), sorted.end(), [](const Group& left, const Group& right) {
        return left.files.size() > right.files.size();
    });
    return sorted;
}

std::string sentenceOf(const LogReading& reading) {
    switch (reading.outcome) {
        case LogOutcome::started:
            return "The launcher started the platform.";
        case LogOutcome::provisioned:
            return "The launcher ran the platform's provisioning.";
        case LogOutcome::handedOver:
            return "A platform was running; the launcher handed the command over to it.";
        case LogOutcome::prepared:
            return "The launcher prepared the user and started nothing.";
        case LogOutcome::refused:
            return "The launcher refused to start.";
        case LogOutcome::unfinished:
            break;
    }
    return "The log ends before the start does: the launcher still runs, was ended from outside, or took the "
           "shell role on a kiosk.";
}

std::string seconds(std::int64_t milliseconds) {
    const std::string rest = std::to_string(std::abs(milliseconds) % 1000);
    return std::to_string(milliseconds / 1000) + "." + std::string(3 - rest.size(), '0') + rest + " s";
}

class LogWriter {
public:
    std::string write(const ReadLogFile& log) {
        const LogReading& reading = log.reading;
        line(log.file);
        line("  " + sentenceOf(reading) +
             (reading.status ? " Its status is " + std::to_string(*reading.status) + "." : ""));
        if (reading.message) {
            line("\n  " + *reading.message);
            entry("Meaning", reading.entry->meaning);
            entry("Cause", reading.entry->cause);
            entry("Remedy", reading.entry->remedy);
        }
        for (const std::string& hint : reading.hints) {
            line("  " + hint);
        }
        line("\n  Arguments  " + reading.arguments);
        writeLock(reading);
        if (!reading.elements.empty()) {
            line("  Command");
            for (const std::string& element : reading.elements) {
                line("    " + element);
            }
        }
        return std::move(text);
    }

private:
    std::string text;

    void line(const std::string& content) { text += content + "\n"; }

    void entry(const std::string& name, const std::string& content) {
        if (!content.empty()) {
            line("  " + name + ": " + content);
        }
    }

    void writeLock(const LogReading& reading) {
        if (!reading.locked) {
            return;
        }
        line("  Lock       captured " + *reading.locked +
             (reading.released ? ", released " + *reading.released : ", not released") +
             (reading.heldMilliseconds ? ", held for " + seconds(*reading.heldMilliseconds) : ""));
    }
};

std::string skippedText(const LogFiles& files) {
    std::string text;
    for (const SkippedFile& skipped : files.skipped) {
        text += "skipped " + skipped.file + ": " + skipped.reason + "\n";
    }
    return text;
}

std::string counted(std::size_t count, const std::string& noun) {
    return std::to_string(count) + " " + noun + (count == 1 ? "" : "s");
}

std::string tableText(const LogFiles& files) {
    std::string text =
        counted(files.logs.size(), "log") + ", " + counted(files.skipped.size(), "other file") + "\n";
    for (const Group& group : groupsOf(files)) {
        std::string count = std::to_string(group.files.size());
        count.insert(0, count.size() < 8 ? 8 - count.size() : 0, ' ');
        text +=
            count + "  " + nameOf(group.outcome) + (group.reason.empty() ? "" : ": " + group.reason) + "\n";
        if (group.example->entry) {
            text += "          " + group.example->entry->meaning + "\n";
        }
        for (std::size_t i = 0; i < std::min(group.files.size(), shownFiles); ++i) {
            text += "          " + group.files[i] + "\n";
        }
        if (group.files.size() > shownFiles) {
            text += "          and " + std::to_string(group.files.size() - shownFiles) +
                    " more (--json has all)\n";
        }
    }
    return text;
}

template <typename Value>
Json orNull(const std::optional<Value>& value) {
    return value ? Json(*value) : Json(nullptr);
}

Json logJson(const ReadLogFile& log) {
    const LogReading& reading = log.reading;
    Json json = {{"file", log.file},
                 {"outcome", nameOf(reading.outcome)},
                 {"status", orNull(reading.status)},
                 {"message", orNull(reading.message)}};
    json["meaning"] = reading.entry ? Json(reading.entry->meaning) : Json(nullptr);
    json["cause"] = reading.entry ? Json(reading.entry->cause) : Json(nullptr);
    json["remedy"] = reading.entry ? Json(reading.entry->remedy) : Json(nullptr);
    json["arguments"] = reading.arguments;
    json["command"] = orNull(reading.command);
    json["elements"] = reading.elements;
    json["lock"] = {{"captured", orNull(reading.locked)},
                    {"released", orNull(reading.released)},
                    {"milliseconds", orNull(reading.heldMilliseconds)}};
    json["hints"] = reading.hints;
    return json;
}

}  // namespace

std::string writeLogs(const LogFiles& files) {
    std::string text;
    if (files.hasDirectory) {
        return tableText(files) + skippedText(files);
    }
    for (const ReadLogFile& log : files.logs) {
        text += (text.empty() ? "" : "\n") + LogWriter().write(log);
    }
    return text + skippedText(files);
}

std::string writeLogsJson(const LogFiles& files) {
    Json json = {{"logs", Json::array()}, {"skipped", Json::array()}, {"table", Json::array()}};
    for (const ReadLogFile& log : files.logs) {
        json["logs"].push_back(logJson(log));
    }
    for (const SkippedFile& skipped : files.skipped) {
        json["skipped"].push_back({{"file", skipped.file}, {"reason", skipped.reason}});
    }
    for (const Group& group : groupsOf(files)) {
        json["table"].push_back({{"outcome", nameOf(group.outcome)},
                                 {"reason", group.reason.empty() ? Json(nullptr) : Json(group.reason)},
                                 {"count", group.files.size()},
                                 {"files", group.files}});
    }
    return json.dump(2, ' ', false, Json::error_handler_t::replace) + "\n";
}

}  // namespace explain
