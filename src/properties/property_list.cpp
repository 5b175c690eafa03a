#include "properties/property_list.h"

#include <algorithm>
#include <cstdint>
#include <new>
#include <utility>

#include "foundation/formatter.h"
#include "foundation/log_channel.h"
#include "foundation/memory.h"
#include "foundation/text.h"
#include "properties/lookup_explanation.h"

namespace zellauncher {

namespace {

constexpr std::size_t escapeDigits = 4;
constexpr std::size_t firstFoundCapacity = 10;

void reserveFound(std::vector<const PropertyEntry*>& found) {
    try {
        found.reserve(firstFoundCapacity);
    } catch (const std::bad_alloc&) {
        logFatal("ZLNCH0046E: findProperties malloc for property strings failed!");
    }
}

// Out of memory is fatal (newString).
std::wstring copyOf(const std::wstring& text) {
    std::wstring copy = newString(text.size());
    copy = text;
    return copy;
}

}  // namespace

void appendEntry(PropertyList& list, const std::wstring& key, const SourcedText& value) {
    list.push_back({copyOf(key), copyOf(value)});
    takeSource(list.back().value, value);
}

void addProperty(PropertyList& list, const std::wstring& key, SourcedText& value) {
    PropertyEntry entry{copyOf(key), copyOf(value)};
    takeSource(entry.value, value);
    trimSpaces(entry.key);
    logDebugF(L"ZLNCH0126I:   key = \"%s\"", entry.key);
    unescapeValue(entry.value);
    logDebugF(L"ZLNCH0127I:   value  = \"%s\"", entry.value);
    value = entry.value;
    list.push_back(std::move(entry));
}

std::optional<std::size_t> findProperty(const std::wstring& key, const PropertyList& list) {
    const auto found =
        std::find_if(list.begin(), list.end(), [&](const PropertyEntry& entry) { return entry.key == key; });
    explainLookup(key, list, found == list.end() ? nullptr : &*found);
    return found == list.end() ? std::nullopt : std::optional<std::size_t>(found - list.begin());
}

const SourcedText* lookupProperty(const std::wstring& name, const PropertyList& list) {
    const std::optional<std::size_t> position = findProperty(name, list);
    return position ? &list[*position].value : nullptr;
}

std::vector<const PropertyEntry*> findProperties(const std::wstring& prefix, const PropertyList& list) {
    std::vector<const PropertyEntry*> found;
    reserveFound(found);
    for (const PropertyEntry& entry : list) {
        if (entry.key.empty()) {
            break;
        }
        if (entry.key.starts_with(prefix)) {
            found.push_back(&entry);
        }
    }
    return found;
}

void setPropertyValue(const std::wstring& key, const SourcedText& value, PropertyList& list) {
    for (PropertyEntry& entry : list) {
        if (entry.key == key) {
            entry.value = copyOf(value);
            takeSource(entry.value, value);
            return;
        }
    }
}

void unescapeValue(std::wstring& text) {
    std::wstring plain;
    plain.reserve(text.size());
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] != L'\\') {
            plain += text[i];
            continue;
        }
        if (i + 1 == text.size()) {
            break;
        }
        ++i;
        if (text[i] != L'u') {
            plain += text[i];
            continue;
        }
        const std::wstring digits = text.substr(i + 1, escapeDigits);
        plain += parseHexUnit(digits);
        i += digits.size();
    }
    trimSpaces(plain);
    text = upToNul(plain);
}

void trimSpaces(std::wstring& text) {
    const std::size_t first = text.find_first_not_of(L' ');
    if (first == std::wstring::npos) {
        return;
    }
    text = text.substr(first, text.find_last_not_of(L' ') + 1 - first);
}

}  // namespace zellauncher
