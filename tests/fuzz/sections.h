#pragma once

#include <map>
#include <string>
#include <vector>

#include "properties/property_list.h"

// Inputs that say several things: sections, each headed by a line of `@@ ` and a name. What stands in
// front of the first heading is the section without a name; a name that comes twice is continued.
namespace fuzz {

using Sections = std::map<std::string, std::string>;

Sections readSections(const std::string& bytes);

// The lines of a section, without their line feeds.
std::vector<std::string> linesOf(const std::string& text);

// A line as 16-bit units: a byte is the unit of its number, and `\u` with four hexadecimal digits is
// any unit at all.
std::wstring unitsOf(const std::string& line);

// Each line a word.
std::vector<std::wstring> wordsOf(const std::string& text);

// Each line an entry, cut at its first `=`; nothing in it is an escape but `\uXXXX`.
zellauncher::PropertyList entriesOf(const std::string& text);

}  // namespace fuzz
