#pragma once

#include <string>
#include <vector>

// The ordered list of keys and values that property files are read into. Keys are not unique: every
// lookup takes the first entry, so in a list that several files feed, the file loaded first wins.
// Keys are compared whole and case-sensitively.
namespace zellauncher {

struct PropertyEntry {
    std::wstring key;
    std::wstring value;
};

using PropertyList = std::vector<PropertyEntry>;

// Appends an entry as it stands. Without the memory: ZLNCH0004E, fatal, here and in the two
// operations below that store a text.
void appendEntry(PropertyList& list, const std::wstring& key, const std::wstring& value);

// Appends an entry: the key trimmed of blanks, the value unescaped (so callers hand paths over with
// forward slashes). Replaces nothing.
void addProperty(PropertyList& list, const std::wstring& key, const std::wstring& value);

// The value of the first entry with this key, or null. The pointer is good until the list changes.
const std::wstring* lookupProperty(const std::wstring& name, const PropertyList& list);

// The entries whose key begins with the prefix, in list order, up to the first entry of the list
// whose key is empty: what stands behind that is not seen. The pointers are good until the list changes.
// Without the memory for a first few: ZLNCH0046E, fatal.
std::vector<const PropertyEntry*> findProperties(const std::wstring& prefix, const PropertyList& list);

// Replaces the value of the first entry with this key. Never adds one.
void setPropertyValue(const std::wstring& key, const std::wstring& value, PropertyList& list);

// Resolves the escapes of a value: `\\`, `\uXXXX`, and `\x` for the character itself; then trims
// blanks. A character of value 0 cuts the value there.
void unescapeValue(std::wstring& text);

// Takes the blanks (U+0020 alone) off both ends; a text of blanks alone stays as it is.
void trimSpaces(std::wstring& text);

}  // namespace zellauncher
