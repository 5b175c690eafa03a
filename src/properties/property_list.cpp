#include "properties/property_list.h"

#include <algorithm>
#include <new>
#include <type_traits>

#include "foundation/byte_scan.h"
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
    appendPacked(bytes, text, packedSize(text));
    return bytes;
}

template <typename Unit>
void trimSpacesOf(std::basic_string<Unit>& text) {
    if (text.empty() || (text.front() != Unit{' '} && text.back() != Unit{' '})) {
        return;
    }
    const std::size_t first = text.find_first_not_of(Unit{' '});
    if (first == text.npos) {
        return;
    }
    text.resize(text.find_last_not_of(Unit{' '}) + 1);
    text.erase(0, first);
}

// Resolves the `\u` and the digits at this position, which moves to the last of them.
wchar_t unescapedUnit(std::wstring_view text, std::size_t& position) {
    const std::wstring_view digits = text.substr(position + 1, escapeDigits);
    position += digits.size();
    return parseHexUnit(digits);
}

// Resolves the escapes, of which the first is at this position. Bytes have no `\u`.
template <typename Unit>
void unescapeFrom(std::basic_string<Unit>& text, std::size_t first) {
    std::size_t kept = first;
    for (std::size_t i = first; i < text.size(); ++i) {
        if (text[i] != Unit{'\\'}) {
            text[kept++] = text[i];
            continue;
        }
        if (i + 1 == text.size()) {
            break;
        }
        ++i;
        if constexpr (std::is_same_v<Unit, wchar_t>) {
            text[kept++] = text[i] == L'u' ? unescapedUnit(text, i) : text[i];
        } else {
            text[kept++] = text[i];
        }
    }
    text.resize(kept);
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
    add(std::wstring_view(key), std::wstring_view(value), sourceOf(value));
}

void PropertyList::append(std::string_view key, std::string_view value, const TextSource& source) {
    add(key, value, source);
}

template <typename Text>
void PropertyList::add(Text key, Text value, const TextSource& source) {
    try {
        entries.push_back(store(key, value));
        sources.add(source);
        index.add(size() - 1, keyOf(entries.back()), [&](std::size_t position) { return keyAt(position); });
    } catch (const std::bad_alloc&) {
        failOutOfMemory();
    }
}

// The former texts stay in their block.
void PropertyList::setValue(std::size_t position, const std::wstring& value) {
    keptValues.erase(position);
    try {
        entries[position] = store<std::wstring_view>(unpacked(keyAt(position)), value);
    } catch (const std::bad_alloc&) {
        failOutOfMemory();
    }
}

void PropertyList::setValueAndSource(std::size_t position, const SourcedText& value) {
    setValue(position, value);
    sources.set(position, sourceOf(value));
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

std::string_view PropertyList::keyOf(const Entry& entry) const {
    return std::string_view(blocks[entry.block]).substr(entry.begin, entry.keyLength);
}

// A block never grows beyond the memory that it has got at first, and only the last one is added to.
template <typename Text>
PropertyList::Entry PropertyList::store(Text key, Text value) {
    const std::size_t keyLength = packedSize(key);
    const std::size_t valueLength = packedSize(value);
    const std::size_t length = keyLength + valueLength;
    if (blocks.empty() || blocks.back().capacity() - blocks.back().size() < length) {
        blocks.emplace_back().reserve(std::max(length, blockSize));
    }
    std::string& block = blocks.back();
    const Entry entry{static_cast<std::uint32_t>(blocks.size() - 1), static_cast<std::uint32_t>(block.size()),
                      static_cast<std::uint32_t>(keyLength), static_cast<std::uint32_t>(valueLength)};
    appendPacked(block, key, keyLength);
    appendPacked(block, value, valueLength);
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
    unescapeFrom(text, std::min(text.find(L'\\'), text.size()));
    trimSpaces(text);
    text.resize(std::min(text.find(L'\0'), text.size()));
}

bool unescapeBytes(std::string& bytes) {
    const std::size_t first = findAny<'\\'>(bytes);
    if (first < bytes.size()) {
        if (bytes.find("\\u", first) != std::string::npos) {
            return false;
        }
        unescapeFrom(bytes, first);
    }
    trimSpaces(bytes);
    return true;
}

void trimSpaces(std::wstring& text) {
    trimSpacesOf(text);
}

void trimSpaces(std::string& bytes) {
    trimSpacesOf(bytes);
}

}  // namespace zellauncher
