#include "explain/catalogue_reference.h"

#include <algorithm>
#include <vector>

#include "explain/catalogue.h"
#include "explain/encoding.h"
#include "properties/launcher_options.h"

namespace explain {

namespace {

std::string code(const std::string& text) {
    return "`" + text + "`";
}

std::string escaped(std::string text, char character) {
    for (std::size_t at = text.find(character); at != std::string::npos; at = text.find(character, at + 2)) {
        text.insert(at, 1, '\\');
    }
    return text;
}

// A sentence of the catalogue as part of a paragraph, where `<` would begin an element that nobody sees.
std::string sentence(const std::string& label, const std::string& text) {
    if (text.empty()) {
        return {};
    }
    const bool isEnded = text.ends_with('.') || text.ends_with(')');
    return " " + (label.empty() ? "" : "*" + label + ":* ") + escaped(text, '<') + (isEnded ? "" : ".");
}

std::string joined(const std::vector<std::string>& texts) {
    std::string all;
    for (const std::string& text : texts) {
        all += (all.empty() ? "" : ", ") + code(text);
    }
    return all;
}

// In a table, `|` would begin a new cell.
std::string cell(const std::string& text) {
    return escaped(text, '|');
}

class ReferenceWriter {
public:
    std::string write() {
        writeBeginning();
        writeStatuses();
        writeMessages();
        writeKeys();
        writeOptions();
        writeFiles();
        writeVariables();
        return std::move(text);
    }

private:
    std::string text;

    void line(const std::string& content = {}) { text += content + "\n"; }

    void heading(const std::string& name) {
        line();
        line("## " + name);
        line();
    }

    void writeBeginning() {
        line("# Reference");
        line();
        line("All messages, keys, options, exit statuses, files and environment variables of the launcher.");
        line("`zelexplain reference` writes this page from `explain/catalogue`. Terms are explained in the");
        line("[glossary](glossary.md).");
    }

    void writeStatuses() {
        heading("Exit statuses");
        for (const StatusEntry& entry : statusEntries()) {
            line("- " + code(entry.status) + " (" + entry.name + ")." + sentence("", entry.meaning) +
                 sentence("Pitfall", entry.pitfall) + sentence("Remedy", entry.remedy));
        }
    }

    void writeMessages() {
        heading("Messages");
        line(
            "The letter after the number of a message is no severity: many `E` lines are ordinary steps of "
            "a");
        line("good start, and some `I` lines report failures. The number is no identity either: several");
        line(
            "messages share one, so look for the words. `%ls`, `%s` and `%d` are replaced by what the "
            "message is");
        line("about. The log has no times, except in the lines of the lock.");
        line();
        line("Every good start logs these:");
        line();
        for (const MessageEntry& entry : messageEntries()) {
            if (entry.isInEveryGoodStart) {
                line("- " + code(entry.text));
            }
        }
        writeKind(MessageEntry::Kind::fatal, "Messages that end a start",
                  "The start ends with -1. The message is at the end of the log, or near it.");
        writeKind(MessageEntry::Kind::problem, "Failures after which a start goes on", "");
        writeKind(MessageEntry::Kind::progress, "Steps of a start", "");
        writeKind(MessageEntry::Kind::detail, "Messages with `-debug`",
                  "Without `-debug` nothing says these, also where something has failed.");
    }

    void writeKind(MessageEntry::Kind kind, const std::string& name, const std::string& introduction) {
        line();
        line("### " + name);
        line();
        if (!introduction.empty()) {
            line(introduction);
            line();
        }
        std::vector<const MessageEntry*> entries;
        for (const MessageEntry& entry : messageEntries()) {
            if (entry.kind == kind) {
                entries.push_back(&entry);
            }
        }
        std::sort(entries.begin(), entries.end(), [](const MessageEntry* left, const MessageEntry* right) {
            return left->text < right->text;
        });
        for (const MessageEntry* entry : entries) {
            line("- " + code(entry->text) + ":" + sentence("", entry->meaning) +
                 sentence("Cause", entry->cause) + sentence("Remedy", entry->remedy));
        }
    }

    void writeKeys() {
        heading("Keys of property files");
        line(
            "`zellauncher.properties` is in `zel` of the install. `zelinstall.properties` is the template in "
            "the");
        line(
            "base location, from which the launcher makes a user's file. `jvm.properties` is near the JVM, "
            "in the");
        line("workspace or in `zel/deploy`. `args.properties` is the launcher's own. A key of");
        line(
            "`zelinstall.properties` that ends in `.win32` is read without it; one in `.linux` or `.macosx` "
            "is");
        line("left out.");
        for (const KeyEntry& entry : keyEntries()) {
            line();
            line("- " + code(entry.key) + " in " + joined(entry.files) + ":" + sentence("", entry.meaning) +
                 sentence("Default", entry.defaultValue) + sentence("Required", entry.required) +
                 sentence("Pitfall", entry.pitfall));
        }
    }

    void writeOptions() {
        heading("Options of the command line");
        line(
            "Any other argument goes to the platform in double quotes, is stored for a restart, and is "
            "dropped");
        line("on a first run with `config.initial`.");
        line();
        line("| Option | What it does | To the platform | For a restart | On a first run |");
        line("| --- | --- | --- | --- | --- |");
        for (const OptionEntry& entry : optionEntries()) {
            if (entry.isFromCaller) {
                writeOption(entry);
            }
        }
        heading("Options that the launcher writes for the platform");
        for (const OptionEntry& entry : optionEntries()) {
            if (!entry.isFromCaller) {
                line("- " + code(nameOf(entry)) + ":" + sentence("", entry.meaning) +
                     sentence("Pitfall", entry.pitfall));
            }
        }
    }

    static std::string nameOf(const OptionEntry& entry) {
        const bool isJoined =
            entry.option.ends_with('=') || entry.option.ends_with(':') || entry.value.starts_with('=');
        return entry.option + (entry.value.empty() || isJoined ? "" : " ") + entry.value;
    }

    // What happens to an option is the launcher's own table.
    void writeOption(const OptionEntry& entry) {
        const zellauncher::Arguments arguments = {std::wstring(), fromUtf8(entry.option)};
        const zellauncher::LauncherOption* option = zellauncher::optionAt(1, arguments);
        line("| " + cell(code(nameOf(entry))) + " |" + cell(sentence("", entry.meaning)) +
             cell(sentence("Pitfall", entry.pitfall)) + " | " + passThroughOf(option) + " | " +
             storageOf(option) + " | " + firstRunOf(option) + " |");
    }

    static std::string passThroughOf(const zellauncher::LauncherOption* option) {
        switch (option == nullptr ? zellauncher::PassThrough::asArgument : option->passThrough) {
            case zellauncher::PassThrough::dropped:
                return "no";
            case zellauncher::PassThrough::droppedWithValue:
                return "the launcher's own";
            case zellauncher::PassThrough::asArgument:
            case zellauncher::PassThrough::asOption:
                break;
        }
        return "yes";
    }

    static std::string storageOf(const zellauncher::LauncherOption* option) {
        switch (option == nullptr ? zellauncher::RestartStorage::stored : option->restartStorage) {
            case zellauncher::RestartStorage::dropped:
            case zellauncher::RestartStorage::droppedWithValue:
                return "dropped";
            case zellauncher::RestartStorage::storedAsFullPath:
                return "stored as a full path";
            case zellauncher::RestartStorage::stored:
                break;
        }
        return "stored";
    }

    static std::string firstRunOf(const zellauncher::LauncherOption* option) {
        return option == nullptr || option->firstRun == zellauncher::FirstRun::dropped ? "dropped" : "kept";
    }

    void writeFiles() {
        heading("Files and directories");
        line("| Path | In | Written by | What it is |");
        line("| --- | --- | --- | --- |");
        for (const FileEntry& entry : fileEntries()) {
            line("| " + cell(code(entry.path)) + " | " + cell(escaped(entry.directory, '<')) + " | " +
                 entry.writer + " |" + cell(sentence("", entry.meaning)) +
                 cell(sentence("Pitfall", entry.pitfall)) + " |");
        }
    }

    void writeVariables() {
        heading("Environment variables");
        for (const VariableEntry& entry : variableEntries()) {
            line("- " + code(entry.variable) + ":" + sentence("", entry.meaning) +
                 sentence("Default", entry.defaultValue) + sentence("Pitfall", entry.pitfall));
        }
    }
};

}  // namespace

std::string writeReference() {
    return ReferenceWriter().write();
}

}  // namespace explain
