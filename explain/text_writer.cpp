#include "explain/text_writer.h"

#include <algorithm>
#include <map>

#include "explain/check/findings_writer.h"
#include "explain/encoding.h"
#include "explain/names.h"
#include "explain/text_diff.h"

namespace explain {

namespace {

constexpr std::size_t valueColumn = 26;
constexpr std::size_t sourceColumn = 74;

const std::map<std::string, std::string> subjectNames = {
    {"role", "role"},           {"kind", "kind"},
    {"identity", "identity"},   {"baseLocation", "base location"},
    {"workspace", "workspace"}, {"configurationDirectory", "configuration directory"},
    {"jvmRoot", "JVM root"},    {"jvmExecutable", "JVM executable"},
};

std::string padded(const std::string& text, std::size_t column) {
    // Columns are for people, so a character counts as one whatever its bytes.
    const auto characters = static_cast<std::size_t>(
        std::count_if(text.begin(), text.end(), [](char byte) { return (byte & 0xC0) != 0x80; }));
    return text + std::string(column > characters ? column - characters : 1, ' ');
}

std::string seconds(std::uint64_t milliseconds) {
    const std::string whole = std::to_string(milliseconds / 1000);
    const std::uint64_t rest = milliseconds % 1000 / 100;
    return (rest == 0 ? whole : whole + "." + std::to_string(rest)) + " s";
}

class TextWriter {
public:
    TextWriter(const Explanation& toWrite, Diffs diffsOfFiles) : explanation(toWrite), diffs(diffsOfFiles) {}

    std::string write() {
        line(outcomeSentence(explanation));
        writeFailure();
        writeFindings();
        writeAssumptions();
        writeDecisions();
        writeCommand();
        writeEnvironment();
        writeFiles();
        writeWaits();
        if (explanation.logPath) {
            heading("Log");
            line("  " + toUtf8(*explanation.logPath) + ", " + std::to_string(explanation.log.size()) +
                 " lines");
        }
        return std::move(text);
    }

private:
    const Explanation& explanation;
    Diffs diffs;
    std::string text;

    void line(const std::string& content) { text += content + "\n"; }
    void heading(const std::string& name) { text += "\n" + name + "\n"; }

    // The second text in its column, below the first one if that is too long.
    void writeBeside(const std::string& first, const std::string& second) {
        if (first.size() < sourceColumn) {
            line(padded(first, sourceColumn) + second);
        } else {
            line(first);
            line(std::string(sourceColumn, ' ') + second);
        }
    }

    void writeFailure() {
        if (!explanation.message) {
            return;
        }
        line("\n  " + *explanation.message);
        if (!explanation.failure) {
            return;
        }
        if (!explanation.failure->meaning.empty()) {
            line("\nMeaning:  " + explanation.failure->meaning);
        }
        const char* label = "Cause:    ";
        for (const Failure::Cause& cause : explanation.failure->causes) {
            line(label + cause.text + (cause.place ? "  (" + placeText(*cause.place) + ")" : ""));
            label = "          ";
        }
        if (!explanation.failure->remedy.empty()) {
            line("Remedy:   " + explanation.failure->remedy);
        }
    }

    void writeFindings() {
        if (explanation.findings.empty()) {
            return;
        }
        heading("Mistakes in the install (zelexplain check)");
        for (const Finding& finding : explanation.findings) {
            line("  " + findingText(finding));
        }
    }

    void writeAssumptions() {
        if (explanation.assumptions.empty()) {
            return;
        }
        heading("Assumed");
        for (const std::string& assumption : explanation.assumptions) {
            line("  " + assumption);
        }
    }

    void writeDecisions() {
        heading("Decisions");
        for (const Decision& decision : explanation.decisions) {
            const std::string value = decision.value ? toUtf8(*decision.value) : "undecided";
            line(padded("  " + subjectName(decision.subject), valueColumn) + value);
            const std::string indent(valueColumn, ' ');
            if (decision.value) {
                line(indent + "from " + sourceText(decision.source));
            }
            // The configuration directory follows from the workspace, which shows them.
            if (decision.subject == "configurationDirectory") {
                continue;
            }
            for (const Considered& considered : decision.considered) {
                line(indent + "  - " + consideredText(considered));
            }
        }
    }

    void writeCommand() {
        if (!explanation.command) {
            return;
        }
        heading(explanation.role == Role::daemon ? "Command for the running platform" : "Command");
        std::string section;
        for (const Element& element : explanation.elements) {
            if (element.section != section) {
                section = element.section;
                line("  " + section);
            }
            writeBeside("    " + toUtf8(element.text), sourceText(element.source));
        }
    }

    void writeEnvironment() {
        if (explanation.setVariables.empty() && explanation.unsetVariables.empty()) {
            return;
        }
        heading("Environment of the platform");
        for (const auto& [name, value] : explanation.setVariables) {
            line("  " + toUtf8(name) + "=" + toUtf8(value));
        }
        for (const std::wstring& name : explanation.unsetVariables) {
            line("  " + toUtf8(name) + " removed");
        }
    }

    void writeFiles() {
        heading("Files");
        if (explanation.files.empty() && explanation.madeDirectories.empty() &&
            explanation.removedDirectories.empty()) {
            line("  nothing changes");
        }
        std::map<std::wstring, const char*> directories;
        for (const std::wstring& directory : explanation.madeDirectories) {
            directories[directory] = "made";
        }
        for (const std::wstring& directory : explanation.removedDirectories) {
            directories[directory] = "removed";
        }
        auto next = directories.begin();
        const auto writeDirectoriesBefore = [&](const std::wstring* path) {
            for (; next != directories.end() && (path == nullptr || next->first < *path); ++next) {
                line(padded(std::string("  ") + next->second, 12) + toUtf8(next->first) + "\\");
            }
        };
        for (const FileChange& file : explanation.files) {
            writeDirectoriesBefore(&file.path);
            const std::string from = file.from.empty() ? "" : "  from " + toUtf8(file.from);
            line(padded(std::string("  ") + nameOf(file.kind), 12) + toUtf8(file.path) +
                 (file.isDirectory ? "\\" : "") + from);
            writeDiff(file);
        }
        writeDirectoriesBefore(nullptr);
    }

    void writeDiff(const FileChange& file) {
        const bool isText = isUtf8(file.content) && isUtf8(file.formerContent) &&
                            file.content.find('\0') == std::string::npos;
        const bool hasContent = file.kind == FileChange::Kind::made || file.kind == FileChange::Kind::changed;
        if (diffs == Diffs::leftOut || !isText || !hasContent) {
            return;
        }
        for (const std::string& difference : diffOf(file.formerContent, file.content)) {
            line("              " + difference);
        }
    }

    void writeWaits() {
        heading("Waits");
        if (explanation.waits.empty()) {
            line("  none");
        }
        for (const Wait& wait : explanation.waits) {
            line(padded("  " + waitTime(wait), 12) + "for " + wait.reason + ", " + waitLimit(wait));
        }
    }
};

std::string statusText(const Explanation& explanation) {
    return explanation.status ? "ends with status " + std::to_string(*explanation.status)
                              : "does not end by itself";
}

}  // namespace

std::string outcomeSentence(const Explanation& explanation) {
    const std::string end = statusText(explanation);
    switch (explanation.outcome) {
        case Outcome::started:
            return "The launcher starts the platform and " + end + ".";
        case Outcome::provisioned:
            return "The launcher runs the platform's provisioning instead of the platform and " + end + ".";
        case Outcome::handedOver:
            return "A platform is running; the launcher hands the command over to it and " + end + ".";
        case Outcome::prepared:
            return "The launcher prepares the user, starts nothing and " + end + ".";
        case Outcome::shellRole:
            return "The launcher gives the administrator a desktop instead of the platform and " + end + ".";
        case Outcome::refused:
            break;
    }
    return explanation.status ? "The launcher refuses to start and " + end + "."
                              : "The launcher waits without limit, and no platform gets the command.";
}

std::string subjectName(const std::string& subject) {
    return subjectNames.at(subject);
}

std::string waitTime(const Wait& wait) {
    return seconds(wait.milliseconds);
}

std::string waitLimit(const Wait& wait) {
    return wait.limitMilliseconds ? "at most " + seconds(*wait.limitMilliseconds) : "without limit";
}

std::string placeText(const Place& place) {
    std::string text = toUtf8(place.file);
    if (place.line != 0) {
        text += ":" + std::to_string(place.line);
    }
    return place.name.empty() ? text : text + " " + toUtf8(place.name);
}

std::string consideredText(const Considered& considered) {
    const std::string place = sourceText(considered.source);
    switch (considered.result) {
        case Considered::Result::missing:
            switch (considered.source.kind) {
                case ValueSource::Kind::argument:
                    return place + ": not given";
                case ValueSource::Kind::environment:
                    return place + ": not set";
                case ValueSource::Kind::file:
                    return place + ": no such key";
                default:
                    return place + ": does not exist";
            }
        case Considered::Result::overridden:
            return place + ": overridden, \"" + toUtf8(considered.value) + "\"";
        case Considered::Result::present:
            break;
    }
    const bool hasValue = considered.source.kind != ValueSource::Kind::found;
    return place + (hasValue ? ": \"" + toUtf8(considered.value) + "\"" : ": exists");
}

std::string sourceText(const ValueSource& source) {
    switch (source.kind) {
        case ValueSource::Kind::argument:
            return "argument " + toUtf8(source.name);
        case ValueSource::Kind::environment:
            return "variable " + toUtf8(source.name);
        case ValueSource::Kind::found:
            return toUtf8(source.file.empty() ? source.name : source.file);
        case ValueSource::Kind::defaultValue:
            return source.name.empty() ? "default" : "default " + toUtf8(source.name);
        case ValueSource::Kind::file:
            break;
    }
    const std::string own = placeText({source.file, source.line, source.name});
    return source.origin
               ? placeText(*source.origin) + " (user's copy: line " + std::to_string(source.line) + ")"
               : own;
}

std::string writeText(const std::vector<Explanation>& starts, Diffs diffs) {
    std::string text;
    for (std::size_t i = 0; i < starts.size(); ++i) {
        if (starts.size() > 1) {
            text += (i == 0 ? "" : "\n") + std::string("Start ") + std::to_string(i + 1) + "\n\n";
        }
        text += TextWriter(starts[i], diffs).write();
    }
    return text;
}

}  // namespace explain
