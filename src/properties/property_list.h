#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "foundation/sourced_text.h"

// The ordered list of keys and values that property files are read into. Keys are not unique; every
// lookup takes the first entry, so of several files in one list, the file loaded first wins. Keys are
// compared whole and case-sensitively.
namespace zellauncher {

struct PropertyEntry {
    std::wstring key;
    SourcedText value;
};

using PropertyList = std::vector<PropertyEntry>;

// Appends an entry unchanged. Out of memory is the fatal ZLNCH0004E, also in addProperty and
// setPropertyValue.
void appendEntry(PropertyList& list, const std::wstring& key, const SourcedText& value);

// Appends an entry with the key trimmed and the value unescaped, so paths need forward slashes. `value`
// becomes the value of the entry. Replaces nothing.
void addProperty(PropertyList& list, const std::wstring& key, SourcedText& value);

// The position of the first entry with this key.
std::optional<std::size_t> findProperty(const std::wstring& key, const PropertyList& list);

// The value of the first entry with this key, or null. Valid until the list changes.
const SourcedText* lookupProperty(const std::wstring& name, const PropertyList& list);

// The entries whose key begins with the prefix, in list order. Required oddity: stops at the first entry
// with an empty key. Valid until the list changes. Out of memory is the fatal ZLNCH0046E.
std::vector<const PropertyEntry*> findProperties(const std::wstring& prefix, const PropertyList& list);

// Replaces the value of the first entry with this key. Does nothing if there is none.
void setPropertyValue(const std::wstring& key, const SourcedText& value, PropertyList& list);

// Resolves the escapes of a value (`\\`, `\uXXXX`, and `\x` for any other character x), then trims
// blanks. A NUL ends the value.
void unescapeValue(std::wstring& text);

// Removes blanks (only U+0020) at both ends. A text of blanks only stays unchanged.
void trimSpaces(std::wstring& text);

}  // namespace zellauncher
