#include "explain/sources.h"

#include <algorithm>

#include "explain/windows_paths.h"
#include "foundation/paths.h"
#include "properties/launcher_options.h"

namespace explain {

namespace {

using zellauncher::Reading;
using zellauncher::RecordedDecision;
using zellauncher::Source;
using zellauncher::Subject;

struct NamedSubject {
    Subject subject;
    const char* name;
};

constexpr NamedSubject subjects[] = {
    {Subject::role, "role"},           {Subject::kind, "kind"},
    {Subject::identity, "identity"},   {Subject::baseLocation, "baseLocation"},
    {Subject::workspace, "workspace"}, {Subject::configurationDirectory, "configurationDirectory"},
    {Subject::jvmRoot, "jvmRoot"},     {Subject::jvmExecutable, "jvmExecutable"},
};

std::wstring nameOf(zellauncher::InstallConfigurationKind kind) {
    using Kind = zellauncher::InstallConfigurationKind;
    switch (kind) {
        case Kind::service:
            return L"service";
        case Kind::lockdown:
            return L"lockdown";
        case Kind::user:
            return L"user";
        case Kind::serialMultiuser:
            return L"serial.multiuser";
        case Kind::multiuser:
            return L"multiuser";
        case Kind::multiuserService:
            return L"multiuser service";
        case Kind::userpb:
            return L"userpb";
        case Kind::unknown:
            break;
    }
    return L"unknown";
}

ValueSource::Kind kindOf(Source::Kind kind) {
    switch (kind) {
        case Source::Kind::argument:
            return ValueSource::Kind::argument;
        case Source::Kind::environment:
            return ValueSource::Kind::environment;
        case Source::Kind::found:
            return ValueSource::Kind::found;
        case Source::Kind::file:
            break;
    }
    return ValueSource::Kind::file;
}

Considered::Result resultOf(Reading::Result result) {
    switch (result) {
        case Reading::Result::missing:
            return Considered::Result::missing;
        case Reading::Result::overridden:
            return Considered::Result::overridden;
        case Reading::Result::present:
            break;
    }
    return Considered::Result::present;
}

// The first such reading decides.
bool isWinner(const RecordedDecision& decision, const Reading& reading) {
    switch (decision.subject) {
        case Subject::role:
        case Subject::kind:
            return true;
        case Subject::jvmRoot:
            return decision.value && reading.place.kind == Source::Kind::found &&
                   isWithin(reading.place.path, *decision.value);
        default:
            return false;
    }
}

bool isSamePlace(const Considered& left, const Considered& right) {
    return left.source.kind == right.source.kind && left.source.file == right.source.file &&
           left.source.line == right.source.line && left.source.name == right.source.name;
}

}  // namespace

Reasons::Reasons(const StartOptions& options, const LauncherRun& launcherRun, Origins originsOfUserFile)
    : installPath(options.install.path), run(launcherRun), origins(std::move(originsOfUserFile)) {}

std::wstring Reasons::fileName(const std::wstring& path) const {
    if (!isWithin(path, installPath)) {
        return fullDrivePath(path).value_or(path);
    }
    return zellauncher::withForwardSlashes(relativeTo(path, installPath));
}

// The value of an option has the option's name.
std::wstring Reasons::optionOf(const Source& argument) const {
    for (const Reading& reading : run.recording.readings) {
        const bool isSame = reading.place.kind == Source::Kind::argument && reading.value.source &&
                            reading.value.source->kind == Source::Kind::argument &&
                            reading.value.source->line == argument.line;
        if (isSame) {
            return reading.place.name;
        }
    }
    if (argument.line > 1 && argument.line < run.arguments.size()) {
        const zellauncher::Arguments arguments = run.arguments;
        const zellauncher::LauncherOption* before = zellauncher::optionAt(argument.line - 1, arguments);
        if (before != nullptr && before->passThrough == zellauncher::PassThrough::asOption) {
            return before->name;
        }
    }
    return argument.name;
}

ValueSource Reasons::describe(const Source& source) const {
    ValueSource described;
    described.kind = kindOf(source.kind);
    described.name = source.kind == Source::Kind::argument ? optionOf(source) : source.name;
    if (!source.path.empty()) {
        described.file = fileName(source.path);
    }
    if (source.kind != Source::Kind::file) {
        return described;
    }
    if (source.path.empty()) {
        described.kind = ValueSource::Kind::defaultValue;  // a key that the launcher itself has set
        return described;
    }
    described.line = source.line;
    const auto origin =
        isSamePath(source.path, run.recording.userProperties) ? origins.find(source.line) : origins.end();
    if (origin != origins.end()) {
        described.origin = Place{fileName(origin->second.path), origin->second.line, origin->second.name};
    }
    return described;
}

ValueSource Reasons::describe(const std::shared_ptr<const Source>& source) const {
    return source ? describe(*source) : ValueSource{};
}

std::vector<Element> Reasons::elements() const {
    std::vector<Element> all;
    for (const zellauncher::RecordedElement& element : run.recording.elements) {
        all.push_back({element.text, element.section, describe(element.source)});
    }
    return all;
}

std::vector<Wait> Reasons::waits() const {
    const std::vector<zellauncher::RecordedWait>& recorded = run.recording.waits;
    std::vector<Wait> all;
    for (std::size_t i = 0; i < recorded.size(); ++i) {
        const std::uint64_t end = i + 1 < recorded.size() ? recorded[i + 1].begin : run.endTime;
        if (end > recorded[i].begin) {
            all.push_back({recorded[i].reason, end - recorded[i].begin, recorded[i].limitMilliseconds});
        }
    }
    return all;
}

bool Reasons::isDecided(Subject subject) const {
    const auto& all = run.recording.decisions;
    return std::any_of(all.begin(), all.end(), [&](const RecordedDecision& decision) {
        return decision.subject == subject && decision.value;
    });
}

Role Reasons::role() const {
    if (!isDecided(Subject::role)) {
        return Role::unknown;
    }
    return run.state.isMainProcess ? Role::mainProcess : Role::daemon;
}

// In the order of their first decision; a later one on the same subject replaces it.
std::vector<Decision> Reasons::decisions() const {
    std::vector<Decision> all;
    for (const RecordedDecision& recorded : run.recording.decisions) {
        Decision decision = describe(recorded);
        const auto former = std::find_if(
            all.begin(), all.end(), [&](const Decision& other) { return other.subject == decision.subject; });
        if (former != all.end()) {
            *former = std::move(decision);
        } else {
            all.push_back(std::move(decision));
        }
    }
    return all;
}

std::optional<std::wstring> Reasons::valueOf(const RecordedDecision& decision) const {
    switch (decision.subject) {
        case Subject::role:
            if (!decision.value) {
                return std::nullopt;
            }
            return run.state.isMainProcess ? L"mainProcess" : L"daemon";
        case Subject::kind:
            return nameOf(run.state.kind);
        default:
            return decision.value ? std::optional<std::wstring>(*decision.value) : std::nullopt;
    }
}

// The reading that the decision follows, if its value does not know its source.
std::optional<std::size_t> Reasons::winnerOf(const RecordedDecision& decision) const {
    for (std::size_t i = decision.firstReading; i < decision.endReading; ++i) {
        const Reading& reading = run.recording.readings[i];
        if (reading.result == Reading::Result::present && isWinner(decision, reading)) {
            return i;
        }
    }
    return std::nullopt;
}

Decision Reasons::describe(const RecordedDecision& recorded) const {
    Decision decision;
    const auto named =
        std::find_if(std::begin(subjects), std::end(subjects),
                     [&](const NamedSubject& subject) { return subject.subject == recorded.subject; });
    decision.subject = named->name;
    decision.value = valueOf(recorded);
    const std::optional<std::size_t> winner = winnerOf(recorded);
    if (recorded.value && recorded.value->source) {
        decision.source = describe(recorded.value->source);
    } else if (winner) {
        decision.source = describe(run.recording.readings[*winner].place);
    }
    Considered won;
    won.source = decision.source;
    for (std::size_t i = recorded.firstReading; i < recorded.endReading; ++i) {
        const Reading& reading = run.recording.readings[i];
        const Considered considered{describe(reading.place), resultOf(reading.result), reading.value};
        const bool isKnown =
            isSamePlace(considered, won) ||
            std::any_of(decision.considered.begin(), decision.considered.end(),
                        [&](const Considered& other) { return isSamePlace(considered, other); });
        if (!isKnown) {
            decision.considered.push_back(considered);
        }
    }
    return decision;
}

}  // namespace explain
