#include "foundation/explanation.h"

#include <algorithm>
#include <utility>

#include "foundation/recording.h"

// Only on the simulated machine.
namespace zellauncher {

PROCESS_WIDE Recording* recording = nullptr;

namespace {

std::shared_ptr<const Source> sharedSource(Source source) {
    return std::make_shared<const Source>(std::move(source));
}

void addReading(Source place, const SourcedText* value) {
    Reading reading;
    reading.result = value != nullptr ? Reading::Result::present : Reading::Result::missing;
    reading.place = std::move(place);
    if (value != nullptr) {
        reading.value = *value;
    }
    recording->readings.push_back(std::move(reading));
}

const RecordedDecision* lastDecisionOn(Subject subject) {
    const auto& all = recording->decisions;
    const auto found = std::find_if(all.rbegin(), all.rend(), [&](const RecordedDecision& decision) {
        return decision.subject == subject;
    });
    return found == all.rend() ? nullptr : &*found;
}

// The last thing in the range that was present.
const Reading* lastPresent(std::size_t first, std::size_t end) {
    for (std::size_t i = end; i > first; --i) {
        if (recording->readings[i - 1].result == Reading::Result::present) {
            return &recording->readings[i - 1];
        }
    }
    return nullptr;
}

std::shared_ptr<const Source> sourceOf(const Reading* reading) {
    if (reading == nullptr) {
        return nullptr;
    }
    return reading->value.source ? reading->value.source : sharedSource(reading->place);
}

void addElement(const SourcedText& text, const std::wstring& element) {
    recording->elements.push_back({element, recording->section, text.source});
}

void addWait(const char* reason, std::optional<std::uint64_t> limit) {
    if (recording != nullptr) {
        recording->waits.push_back({reason, limit, recording->clock()});
    }
}

}  // namespace

Decision::Decision(Subject decided) {
    if (recording != nullptr) {
        RecordedDecision decision;
        decision.subject = decided;
        decision.firstReading = recording->readings.size();
        number = recording->decisions.size();
        recording->decisions.push_back(std::move(decision));
    }
}

Decision::~Decision() {
    if (recording != nullptr) {
        recording->decisions[number].endReading =
            std::min(recording->readings.size(), recording->fatalReading);
    }
}

void Decision::made(const SourcedText& text) {
    if (recording != nullptr) {
        recording->decisions[number].value = text;
    }
}

void explainFile(const std::wstring& path, bool exists) {
    if (recording != nullptr) {
        const SourcedText file = path;
        addReading({Source::Kind::found, path, 0, {}}, exists ? &file : nullptr);
    }
}

void explainSemaphore(const std::wstring& name, bool exists) {
    if (recording != nullptr) {
        const SourcedText semaphore = name;
        addReading({Source::Kind::found, {}, 0, name}, exists ? &semaphore : nullptr);
    }
}

void explainVariable(const std::wstring& name, const std::optional<std::wstring>& value) {
    if (recording != nullptr) {
        const SourcedText text = value.value_or(L"");
        addReading({Source::Kind::environment, {}, 0, name}, value ? &text : nullptr);
    }
}

void explainArgument(const std::wstring& option, const SourcedText* value) {
    if (recording != nullptr) {
        addReading({Source::Kind::argument, {}, 0, option}, value);
    }
}

void takeSourceOfDecision(SourcedText& text, Subject subject) {
    const RecordedDecision* decision = recording != nullptr ? lastDecisionOn(subject) : nullptr;
    if (decision == nullptr) {
        return;
    }
    const bool hasOwn = decision->value && decision->value->source;
    text.source = hasOwn ? decision->value->source
                         : sourceOf(lastPresent(decision->firstReading, decision->endReading));
}

void takeSourceOfReading(SourcedText& text) {
    if (recording != nullptr) {
        text.source = sourceOf(lastPresent(0, recording->readings.size()));
    }
}

void takeSourceOfFile(SourcedText& text, const std::wstring& path) {
    text.source = sharedSource({Source::Kind::found, path, 0, {}});
}

void explainSection(const char* name) {
    if (recording != nullptr) {
        recording->section = name;
    }
}

void explainProgram(const SourcedText& text, const std::wstring& command) {
    if (recording != nullptr) {
        recording->elements.clear();
        addElement(text, command);
        recording->commandLength = command.size();
    }
}

void explainElement(const SourcedText& text, const std::wstring& command) {
    if (recording != nullptr) {
        // A command without a program begins with a NUL.
        const std::size_t begin = std::max<std::size_t>(recording->commandLength, 1);
        addElement(text, command.substr(std::min(begin + 1, command.size())));
        recording->commandLength = command.size();
    }
}

void explainWait(const char* reason) {
    addWait(reason, std::nullopt);
}

void explainWait(const char* reason, std::uint64_t limitMilliseconds) {
    addWait(reason, limitMilliseconds);
}

void explainEnd(StartEnd end) {
    if (recording != nullptr) {
        recording->end = end;
    }
}

void explainLogLine(const std::string& bytes) {
    if (recording != nullptr) {
        recording->logLines.push_back(bytes);
    }
}

void explainLogFile(const std::wstring& path) {
    if (recording != nullptr) {
        recording->logPath = path;
    }
}

void explainFatal() {
    if (recording != nullptr) {
        recording->fatalLine = recording->logLines.size() - 1;
        recording->fatalOperation = recording->operations();
        recording->fatalReading = recording->readings.size();
    }
}

void explainUserProperties(const std::wstring& path) {
    if (recording != nullptr) {
        recording->userProperties = path;
        recording->madeLines.clear();
    }
}

void explainTemplate(const std::wstring& path) {
    if (recording != nullptr) {
        recording->templateFile = path;
    }
}

void explainMadeLine(const FilePosition& copied) {
    if (recording != nullptr) {
        recording->madeLines.push_back(
            sharedSource({Source::Kind::file, recording->templateFile, copied.lineBegin, {}}));
    }
}

void explainMadeLine(const SourcedText& value) {
    if (recording != nullptr) {
        recording->madeLines.push_back(value.source);
    }
}

}  // namespace zellauncher
