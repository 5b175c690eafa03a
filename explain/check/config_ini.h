#pragma once

#include <cstddef>
#include <string>
#include <string_view>
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

// A bundle of osgi.bundles: <bundle>@<start level>:start, of which each part after the bundle may be missing.
struct ConfiguredBundle {
    std::string written;             // without the blanks around it
    std::string bundle;              // what comes before the @
    std::vector<std::string> start;  // the parts after it
};

std::vector<ConfiguredBundle> readBundles(const std::string& list);

// True for a number, and for the empty text.
bool isStartLevel(std::string_view text);

}  // namespace explain
