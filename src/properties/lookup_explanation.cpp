#include "properties/lookup_explanation.h"

#include "foundation/recording.h"

// Only on the simulated machine.
namespace zellauncher {

namespace {

Source placeOf(const PropertyEntry& entry) {
    const bool isOfFile = entry.value.source && entry.value.source->kind == Source::Kind::file;
    return isOfFile ? *entry.value.source : Source{Source::Kind::file, {}, 0, entry.key};
}

void addReading(Reading::Result result, const PropertyEntry& entry) {
    recording->readings.push_back({result, placeOf(entry), entry.value});
}

}  // namespace

void explainLookup(const std::wstring& key, const PropertyList& list, std::optional<std::size_t> found) {
    if (recording == nullptr) {
        return;
    }
    if (!found) {
        const std::wstring file = list.empty() ? std::wstring() : placeOf(list.front()).path;
        recording->readings.push_back({Reading::Result::missing, {Source::Kind::file, file, 0, key}, {}});
        return;
    }
    for (std::size_t i = *found + 1; i < list.size(); ++i) {
        if (list[i].key == key) {
            addReading(Reading::Result::overridden, list[i]);
        }
    }
    addReading(Reading::Result::present, list[*found]);
}

void explainOverridden(const wchar_t* key, const PropertyList& list) {
    if (recording == nullptr) {
        return;
    }
    for (const PropertyEntry& entry : list) {
        if (entry.key == key) {
            addReading(Reading::Result::overridden, entry);
        }
    }
}

}  // namespace zellauncher
