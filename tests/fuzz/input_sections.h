#pragma once

#include <map>
#include <string>
#include <vector>

#include "properties/property_list.h"

// Inputs with several parts: sections, each headed by a line `@@ <name>`. What comes before the first
// heading is the section with the empty name. A name that appears twice is continued.
namespace fuzz {

using Sections = std::map<std::string, std::string>;

Sections readSections(const std::string& bytes);

// A text of the input in 16-bit units: each byte is one unit, and `\u` with four hexadecimal digits is
// any unit.
std::wstring decodeText(const std::string& text);

// Each line of a section, decoded.
std::vector<std::wstring> decodeLines(const std::string& section);

// Each line of a section, decoded and split at its first `=`. `\uXXXX` is its only escape.
zellauncher::PropertyList decodeEntries(const std::string& section);

}  // namespace fuzz
