#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace explain {

// A line of config.ini. UTF-8, without escapes.
struct ConfigIniEntry {
    std::string key;
    std::string value;
    std::size_t line = 0;  // the first physical line, from 1
    std::string written;   // bytes of the logical line, with escapes
};

// config.ini is the framework's file, in Java's dialect of properties.
std::vector<ConfigIniEntry> readConfigIni(const std::string& bytes);

// The entry with this key that the framework uses, which is the last one; null if there is none.
const ConfigIniEntry* findConfigIniEntry(const std::vector<ConfigIniEntry>& entries, const std::string& key);

}  // namespace explain
