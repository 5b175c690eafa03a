#include "fuzz/sections.h"

#include <algorithm>
#include <cctype>
#include <cstddef>
#include <cstdlib>

namespace fuzz {

namespace {

constexpr std::size_t escapeLength = 6;

bool isEscape(const std::string& line, std::size_t position) {
    return line.compare(position, 2, "\\u") == 0 && position + escapeLength <= line.size() &&
           std::all_of(line.begin() + static_cast<std::ptrdiff_t>(position) + 2,
                       line.begin() + static_cast<std::ptrdiff_t>(position + escapeLength),
                       [](unsigned char c) { return std::isxdigit(c) != 0; });
}

}  // namespace

std::vector<std::string> linesOf(const std::string& text) {
    std::vector<std::string> lines;
    std::size_t begin = 0;
    while (begin < text.size()) {
        const std::size_t end = std::min(text.find('\n', begin), text.size());
        lines.push_back(text.substr(begin, end - begin));
        begin = end + 1;
    }
    return lines;
}

Sections readSections(const std::string& bytes) {
    Sections sections;
    std::string name;
    std::size_t begin = 0;
    while (begin < bytes.size()) {
        const std::size_t end = std::min(bytes.find('\n', begin), bytes.size() - 1) + 1;
        const std::string line = bytes.substr(begin, end - begin);
        if (line.starts_with("@@ ")) {
            name = line.substr(3, line.find('\n') - 3);
            sections[name];
        } else {
            sections[name] += line;
        }
        begin = end;
    }
    return sections;
}

std::wstring unitsOf(const std::string& line) {
    std::wstring units;
    for (std::size_t i = 0; i < line.size(); ++i) {
        if (isEscape(line, i)) {
            units += static_cast<wchar_t>(std::strtol(line.substr(i + 2, 4).c_str(), nullptr, 16));
            i += escapeLength - 1;
        } else {
            units += static_cast<wchar_t>(static_cast<unsigned char>(line[i]));
        }
    }
    return units;
}

std::vector<std::wstring> wordsOf(const std::string& text) {
    std::vector<std::wstring> words;
    for (const std::string& line : linesOf(text)) {
        words.push_back(unitsOf(line));
    }
    return words;
}

zellauncher::PropertyList entriesOf(const std::string& text) {
    zellauncher::PropertyList list;
    for (const std::wstring& line : wordsOf(text)) {
        const std::size_t separator = std::min(line.find(L'='), line.size());
        list.push_back({line.substr(0, separator), line.substr(std::min(separator + 1, line.size()))});
    }
    return list;
}

}  // namespace fuzz
