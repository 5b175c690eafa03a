#include "properties/property_list.h"

#include <algorithm>
#include <new>

#include "foundation/log_channel.h"
#include "foundation/memory.h"
#include "foundation/text.h"
#include "properties/lookup_explanation.h"
#include "properties/packed_text.h"

namespace zellauncher {

namespace {

constexpr std::size_t escapeDigits = 4;
constexpr std::size_t firstFoundCapacity = 10;
constexpr std::size_t blockSize = 16384;

void reserveFound(std::vector<PropertyEntry>& found) {
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

std::string packed(std::wstring_view text) {
    std::string bytes;
    appendPacked(bytes, text);
    return bytes;
}

}  // namespace

PropertyList::PropertyList(std::initializer_list<PropertyEntry> initial) {
    for (const PropertyEntry& entry : initial) {
        push_back(entry);
    }
}

const PropertyEntry PropertyList::operator[](std::size_t position) const {
    return {unpacked(keyAt(position)), valueAt(position)};
}

SourcedText PropertyList::valueAt(std::size_t position) const {
    const Entry& entry = entries[position];
    const std::string_view value =
        std::string_view(blocks[entry.block]).substr(entry.begin + entry.keyLength, entry.valueLength);
    return sources.applyTo(position, unpacked(value));
}

PropertyList::Iterator PropertyList::begin() const {
    return {*this, 0};
}

PropertyList::Iterator PropertyList::end() const {
    return {*this, size()};
}

void PropertyList::append(const std::wstring& key, const SourcedText& value) {
    keptValues.clear();
    try {
        entries.push_back(store(key, value));
        sources.add(value);
        index.add(size() - 1, [&](std::size_t position) { return keyAt(position); });
    } catch (const std::bad_alloc&) {
        failOutOfMemory();
    }
}

// The former texts stay in their block.
void PropertyList::setValue(std::size_t position, const std::wstring& value) {
    keptValues.erase(position);
    try {
        entries[position] = store(unpacked(keyAt(position)), value);
    } catch (const std::bad_alloc&) {
        failOutOfMemory();
    }
}

void PropertyList::setValueAndSource(std::size_t position, const SourcedText& value) {
    setValue(position, value);
    sources.set(position, value);
}

std::optional<std::size_t> PropertyList::find(const std::wstring& key) const {
    return index.find(packed(key), [&](std::size_t position) { return keyAt(position); });
}

const SourcedText& PropertyList::keptValueAt(std::size_t position) const {
    auto known = keptValues.find(position);
    if (known == keptValues.end()) {
        known = keptValues.emplace(position, valueAt(position)).first;
    }
    return known->second;
}

std::string_view PropertyList::keyAt(std::size_t position) const {
    const Entry& entry = entries[position];
    return std::string_view(blocks[entry.block]).substr(entry.begin, entry.keyLength);
}

// A block never grows beyond the memory that it has got at first, and only the last one is added to.
PropertyList::Entry PropertyList::store(std::wstring_view key, std::wstring_view value) {
    std::string bytes = packed(key);
    const std::size_t keyLength = bytes.size();
    bytes.reserve(keyLength + value.size());
    appendPacked(bytes, value);
    if (blocks.empty() || blocks.back().capacity() - blocks.back().size() < bytes.size()) {
        blocks.emplace_back().reserve(std::max(bytes.size(), blockSize));
    }
    std::string& block = blocks.back();
    const Entry entry{static_cast<std::uint32_t>(blocks.size() - 1), static_cast<std::uint32_t>(block.size()),
                      static_cast<std::uint32_t>(keyLength),
                      static_cast<std::uint32_t>(bytes.size() - keyLength)};
    block += bytes;
    return entry;
}

void appendEntry(PropertyList& list, const std::wstring& key, const SourcedText& value) {
    list.append(key, value);
}

void addProperty(PropertyList& list, const std::wstring& key, SourcedText& value) {
    PropertyEntry entry{copyOf(key), copyOf(value)};
    takeSource(entry.value, value);
    trimSpaces(entry.key);
    logDebugF(L"ZLNCH0126I:   key = \"%s\"", entry.key);
    unescapeValue(entry.value);
    logDebugF(L"ZLNCH0127I:   value  = \"%s\"", entry.value);
    value = entry.value;
    list.push_back(entry);
}

std::optional<std::size_t> findProperty(const std::wstring& key, const PropertyList& list) {
    const std::optional<std::size_t> position = list.find(key);
    explainLookup(key, list, position);
    return position;
}

const SourcedText* lookupProperty(const std::wstring& name, const PropertyList& list) {
    const std::optional<std::size_t> position = findProperty(name, list);
    return position ? &list.keptValueAt(*position) : nullptr;
}

std::vector<PropertyEntry> findProperties(std::wstring_view prefix, const PropertyList& list) {
    std::vector<PropertyEntry> found;
    reserveFound(found);
    for (const PropertyEntry& entry : list) {
        if (entry.key.empty()) {
            break;
        }
        if (entry.key.starts_with(prefix)) {
            found.push_back(entry);
        }
    }
    return found;
}

void setPropertyValue(const std::wstring& key, const SourcedText& value, PropertyList& list) {
    if (const std::optional<std::size_t> position = list.find(key)) {
        list.setValueAndSource(*position, value);
    }
}

void unescapeValue(std::wstring& text) {
    std::size_t kept = 0;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] != L'\\') {
            text[kept++] = text[i];
            continue;
        }
        if (i + 1 == text.size()) {
            break;
        }
        ++i;
        if (text[i] != L'u') {
            text[kept++] = text[i];
            continue;
        }
        const std::wstring_view digits = std::wstring_view(text).substr(i + 1, escapeDigits);
        const wchar_t unit = parseHexUnit(digits);
        i += digits.size();
        text[kept++] = unit;
    }
    text.resize(kept);
    trimSpaces(text);
    text.resize(std::min(text.find(L'\0'), text.size()));
}

void trimSpaces(std::wstring& text) {
    const std::size_t first = text.find_first_not_of(L' ');
    if (first == std::wstring::npos) {
        return;
    }
    text.resize(text.find_last_not_of(L' ') + 1);
    text.erase(0, first);
}

}  // namespace zellauncher
