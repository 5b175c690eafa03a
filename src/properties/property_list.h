#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <initializer_list>
#include <iterator>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "foundation/sourced_text.h"
#include "properties/property_index.h"

// The ordered list of keys and values that property files are read into. Keys are not unique; every
// lookup takes the first entry, so of several files in one list, the file loaded first wins. Keys are
// compared whole and case-sensitively.
namespace zellauncher {

struct PropertyEntry {
    std::wstring key;
    SourcedText value;
};

// Used like a vector, except that entries are read by value: the list stores its texts packed, because the
// wide texts of a large file would take several times its size. A list has fewer than 2^32 entries, and a
// text less than 4 GiB. Out of memory for an entry is the fatal ZLNCH0004E.
class PropertyList {
public:
    class Iterator;
    using value_type = PropertyEntry;
    using const_iterator = Iterator;

    PropertyList() = default;
    PropertyList(std::initializer_list<PropertyEntry> initial);

    std::size_t size() const { return entries.size(); }
    bool empty() const { return entries.empty(); }
    // Const, so that nobody assigns to a part of the copy.
    const PropertyEntry operator[](std::size_t position) const;
    const PropertyEntry front() const { return (*this)[0]; }
    const PropertyEntry back() const { return (*this)[size() - 1]; }
    Iterator begin() const;
    Iterator end() const;

    void clear() { *this = {}; }
    void push_back(const PropertyEntry& entry) { append(entry.key, entry.value); }
    void append(const std::wstring& key, const SourcedText& value);
    // Key and value as bytes, each of which is one character.
    void append(std::string_view key, std::string_view value, const TextSource& source);
    // The entry keeps its source.
    void setValue(std::size_t position, const std::wstring& value);
    void setValueAndSource(std::size_t position, const SourcedText& value);

    // The position of the first entry with this key; in constant time, whatever the size of the list.
    std::optional<std::size_t> find(const std::wstring& key) const;
    SourcedText valueAt(std::size_t position) const;
    // The same, kept in the list and valid until the list changes.
    const SourcedText& keptValueAt(std::size_t position) const;

private:
    // Where the packed key is. The value follows it.
    struct Entry {
        std::uint32_t block;
        std::uint32_t begin;
        std::uint32_t keyLength;
        std::uint32_t valueLength;
    };

    std::string_view keyOf(const Entry& entry) const;
    std::string_view keyAt(std::size_t position) const { return keyOf(entries[position]); }
    template <typename Text>
    void add(Text key, Text value, const TextSource& source);
    template <typename Text>
    Entry store(Text key, Text value);

    std::vector<std::string> blocks;
    std::deque<Entry> entries;
    PropertyIndex index;
    [[no_unique_address]] Sources sources;
    mutable std::map<std::size_t, SourcedText> keptValues;
};

class PropertyList::Iterator {
public:
    struct Arrow {
        PropertyEntry entry;
        const PropertyEntry* operator->() const { return &entry; }
    };
    using iterator_category = std::input_iterator_tag;
    using value_type = PropertyEntry;
    using difference_type = std::ptrdiff_t;
    using pointer = Arrow;
    using reference = const PropertyEntry;

    Iterator() = default;
    Iterator(const PropertyList& owner, std::size_t first) : list(&owner), position(first) {}
    reference operator*() const { return (*list)[position]; }
    pointer operator->() const { return {**this}; }
    Iterator& operator++() {
        ++position;
        return *this;
    }
    Iterator operator++(int) {
        const Iterator former = *this;
        ++position;
        return former;
    }
    bool operator==(const Iterator& other) const { return position == other.position; }

private:
    const PropertyList* list = nullptr;
    std::size_t position = 0;
};

// Appends an entry unchanged.
void appendEntry(PropertyList& list, const std::wstring& key, const SourcedText& value);

// Appends an entry with the key trimmed and the value unescaped, so paths need forward slashes. `value`
// becomes the value of the entry. Replaces nothing.
void addProperty(PropertyList& list, const std::wstring& key, SourcedText& value);

// The position of the first entry with this key.
std::optional<std::size_t> findProperty(const std::wstring& key, const PropertyList& list);

// The value of the first entry with this key, or null. Valid until the list changes.
const SourcedText* lookupProperty(const std::wstring& name, const PropertyList& list);

// The entries whose key begins with the prefix, in list order. Required oddity: stops at the first entry
// with an empty key. Out of memory for the first of them is the fatal ZLNCH0046E.
std::vector<PropertyEntry> findProperties(std::wstring_view prefix, const PropertyList& list);

// Replaces the value of the first entry with this key. Does nothing if there is none.
void setPropertyValue(const std::wstring& key, const SourcedText& value, PropertyList& list);

// Resolves the escapes of a value (`\\`, `\uXXXX`, and `\x` for any other character x), then trims
// blanks. A NUL ends the value.
void unescapeValue(std::wstring& text);

// The same for bytes without NUL, each of which is one character. False, and nothing is changed, if they
// contain `\u`, because not every unit is a byte.
bool unescapeBytes(std::string& bytes);

// Removes blanks (only U+0020) at both ends. A text of blanks only stays unchanged.
void trimSpaces(std::wstring& text);
void trimSpaces(std::string& bytes);

}  // namespace zellauncher
