#include "explain/failure.h"

#include <algorithm>
#include <set>

#include "explain/catalogue.h"
#include "explain/encoding.h"
#include "explain/property_files.h"
#include "explain/similar_texts.h"
#include "explain/windows_paths.h"

namespace explain {

namespace {

using zellauncher::PropertyEntry;
using zellauncher::Reading;
using zellauncher::Source;

constexpr std::size_t nearbyOperations = 8;
constexpr std::size_t nearbyReadings = 6;

std::string errorText(platform::ErrorCode error) {
    switch (error) {
        case platform::errorFileNotFound:
        case platform::errorPathNotFound:
            return "does not exist";
        case platform::errorAccessDenied:
            return "cannot be accessed: access is denied";
        case platform::errorSharingViolation:
            return "is in use by another process";
        case platform::errorLockViolation:
            return "is locked by another process";
        case platform::errorFileExists:
        case platform::errorAlreadyExists:
            return "exists already";
        case platform::errorDiskFull:
            return "does not fit on its disk";
        case platform::errorBadProgram:
            return "is no program for 64-bit Windows";
        default:
            return "cannot be used: error " + std::to_string(error);
    }
}

// Words of a text that may be the name of a key, an option or a variable.
std::set<std::string> wordsOf(const std::string& text) {
    std::set<std::string> words;
    for (std::size_t begin = 0; begin < text.size();) {
        const std::size_t end = std::min(text.find_first_of(" ,;:()[]\"", begin), text.size());
        std::string word = text.substr(begin, end - begin);
        if (word.ends_with('.')) {
            word.pop_back();
        }
        words.insert(word);
        begin = end + 1;
    }
    return words;
}

class CauseFinder {
public:
    CauseFinder(World& theWorld, const LauncherRun& launcherRun, const Reasons& theReasons)
        : world(theWorld), run(launcherRun), reasons(theReasons) {}

    std::vector<Failure::Cause> find(const std::string& texts) {
        if (addFailedProgram()) {
            return std::move(causes);
        }
        const std::set<std::string> words = wordsOf(texts);
        for (std::size_t i = lastReading(); i > 0; --i) {
            const Reading& reading = run.recording.readings[i - 1];
            if (words.count(toUtf8(reading.place.name)) != 0) {
                addReading(reading);
            }
        }
        const bool isKnown = !causes.empty();
        addUnresolvedTokens();
        std::vector<Failure::Cause> others = std::move(causes);
        causes.clear();
        addFailedOperation(texts, isKnown);
        causes.insert(causes.end(), others.begin(), others.end());
        return std::move(causes);
    }

private:
    World& world;
    const LauncherRun& run;
    const Reasons& reasons;
    std::vector<Failure::Cause> causes;
    std::set<std::wstring> named;
    std::map<std::wstring, Entries> files;

    const Entries& file(const std::wstring& path) {
        const auto found = files.find(path);
        return found != files.end() ? found->second
                                    : files.emplace(path, readPropertyFile(world, path)).first->second;
    }

    void add(const std::string& text, std::optional<Place> place = std::nullopt) {
        causes.push_back({text, std::move(place)});
    }

    std::optional<Place> placeOf(const Source& source) const {
        if (source.kind != Source::Kind::file || source.line == 0) {
            return std::nullopt;
        }
        const ValueSource described = reasons.describe(source);
        return described.origin ? *described.origin : Place{described.file, described.line, described.name};
    }

    // The program of a command that the system refused. True if that is how the start ended.
    bool addFailedProgram() {
        const auto& operations = world.machine->operations();
        const std::size_t last = std::min(run.recording.fatalOperation, operations.size());
        for (std::size_t i = last; i > run.firstOperation && i + nearbyOperations > last; --i) {
            const simulation::Operation& operation = operations[i - 1];
            const bool isFailedStart = operation.process == run.process &&
                                       operation.name == "createProcess" &&
                                       operation.error != platform::errorSuccess;
            if (isFailedStart && !run.recording.elements.empty()) {
                const zellauncher::RecordedElement& program = run.recording.elements.front();
                std::wstring path = program.text;
                std::erase(path, L'"');
                add(toUtf8(reasons.fileName(path)) + " " + errorText(operation.error));
                if (program.source) {
                    add("its path follows from " + toUtf8(program.source->name), placeOf(*program.source));
                }
                return true;
            }
        }
        return false;
    }

    // What the launcher read after the message has nothing to do with it.
    std::size_t lastReading() const {
        return std::min(run.recording.readings.size(), run.recording.fatalReading);
    }

    // The operation that failed right before the message, if the message is about its file. The launcher
    // often looks for files that need not exist, so without its name in the texts only a change counts, and
    // only while nothing else explains the message.
    void addFailedOperation(const std::string& texts, bool isKnown) {
        const auto& operations = world.machine->operations();
        std::size_t seen = 0;
        for (std::size_t i = run.recording.fatalOperation; i > run.firstOperation; --i) {
            const simulation::Operation& operation = operations[i - 1];
            if (operation.process != run.process) {
                continue;
            }
            if (++seen > nearbyOperations) {
                return;
            }
            const bool isAboutFile = fullDrivePath(operation.argument).has_value();
            if (operation.error == platform::errorSuccess || !isAboutFile) {
                continue;
            }
            const std::size_t separator = operation.argument.find_last_of(L"\\/");
            const bool isNamed =
                texts.find(toUtf8(operation.argument.substr(separator + 1))) != std::string::npos;
            const bool isLook = operation.name == "fileAttributes" || operation.name == "findFirst";
            if (isNamed || (!isLook && !isKnown)) {
                addFailedFile(operation);
                return;
            }
        }
    }

    void addFailedFile(const simulation::Operation& operation) {
        const std::wstring name = reasons.fileName(operation.argument);
        add(toUtf8(name) + " " + errorText(operation.error));
        addSourceOf(operation.argument);
    }

    // The value that the path is made of.
    void addSourceOf(const std::wstring& path) {
        for (std::size_t i = lastReading(); i > 0; --i) {
            const Reading& reading = run.recording.readings[i - 1];
            const bool isBeginning =
                reading.place.kind == Source::Kind::file && !reading.place.name.empty() &&
                fullDrivePath(reading.value).has_value() && isWithin(path, reading.value);
            if (isBeginning && reading.value.source) {
                addReading(reading);
                return;
            }
        }
        for (const zellauncher::RecordedDecision& decision : run.recording.decisions) {
            if (decision.value && decision.value->source && isWithin(path, *decision.value) &&
                decision.value->source->kind == Source::Kind::file) {
                addValue(*decision.value->source, *decision.value);
            }
        }
    }

    void addReading(const Reading& reading) {
        if (reading.place.name.empty()) {
            return;
        }
        if (reading.result == Reading::Result::present) {
            addValue(reading.place, reading.value);
        } else if (reading.result == Reading::Result::missing) {
            addMissing(reading.place);
        }
    }

    void addValue(const Source& source, const std::wstring& value) {
        if (!named.insert(source.name).second) {
            return;
        }
        add(toUtf8(source.name) + " is \"" + toUtf8(value) + "\"", placeOf(source));
    }

    void addMissing(const Source& place) {
        if (!named.insert(place.name).second) {
            return;
        }
        const std::string name = toUtf8(place.name);
        switch (place.kind) {
            case Source::Kind::environment:
                add("the variable " + name + " is not set");
                break;
            case Source::Kind::argument:
                add("there is no argument " + name + ", or nothing after it");
                break;
            case Source::Kind::found:
                break;
            case Source::Kind::file:
                add(place.path.empty() ? "no file has the key " + name
                                       : toUtf8(reasons.fileName(place.path)) + " has no key " + name);
                addSimilarKeys(place);
                break;
        }
    }

    // What may have been meant by the key that is missing.
    void addSimilarKeys(const Source& missing) {
        const std::wstring byteOrderMark = L"\u00EF\u00BB\u00BF";
        for (const PropertyEntry& entry : file(missing.path)) {
            if (!entry.value.source) {
                continue;
            }
            const Place place = placeOf(*entry.value.source).value_or(Place{});
            if (entry.key.starts_with(byteOrderMark) && entry.key.ends_with(missing.name)) {
                add("the file begins with a byte-order mark, which becomes part of its first key", place);
            } else if (areSimilar(entry.key, missing.name)) {
                add("perhaps " + toUtf8(entry.key) + " is meant to be " + toUtf8(missing.name), place);
            }
        }
    }

    // The values that hold a token of something that was missing at the end.
    void addUnresolvedTokens() {
        const auto& readings = run.recording.readings;
        const std::size_t first = lastReading() > nearbyReadings ? lastReading() - nearbyReadings : 0;
        for (std::size_t i = lastReading(); i > first; --i) {
            const Reading& reading = readings[i - 1];
            if (reading.result != Reading::Result::missing || reading.place.name.empty()) {
                continue;
            }
            const bool isVariable = reading.place.kind == Source::Kind::environment;
            addTokens((isVariable ? L"${env." : L"${prop.") + reading.place.name, reading);
        }
    }

    void addTokens(const std::wstring& token, const Reading& missing) {
        std::set<std::wstring> paths;
        for (const Reading& reading : run.recording.readings) {
            if (reading.place.kind == Source::Kind::file && !reading.place.path.empty()) {
                paths.insert(reading.place.path);
            }
        }
        for (const std::wstring& path : paths) {
            for (const PropertyEntry& entry : file(path)) {
                if (entry.value.find(token) != std::wstring::npos && entry.value.source) {
                    addReading(missing);
                    add(toUtf8(entry.key) + " is \"" + toUtf8(entry.value) + "\"",
                        placeOf(*entry.value.source));
                }
            }
        }
    }
};

}  // namespace

Failure explainFailure(const std::string& message, World& world, const LauncherRun& run,
                       const Reasons& reasons) {
    Failure failure;
    const std::optional<MessageEntry> entry = lookUpMessage(message);
    if (entry) {
        failure.meaning = entry->meaning;
        failure.remedy = entry->remedy;
    }
    failure.causes =
        CauseFinder(world, run, reasons).find(message + " " + failure.meaning + " " + failure.remedy);
    return failure;
}

}  // namespace explain
