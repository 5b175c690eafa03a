#include "fuzz/input_sections.h"

#include <algorithm>
#include <cctype>
#include <cstddef>
#include <cstdlib>

namespace fuzz {

namespace {

constexpr std::size_t escapeLength = 6;

bool isEscape(const std::string& text, std::size_t position) {
    return text.compare(position, 2, "\\u") == 0 && position + escapeLength <= text.size() &&
           std::all_of(text.begin() + static_cast<std::ptrdiff_t>(position) + 2,
                       text.begin() + static_cast<std::ptrdiff_t>(position + escapeLength),
                       [](unsigned char c) { return std::isxdigit(c) != 0; });
}

}  // namespace

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

std::wstring decodeText(const std::string& text) {
    std::wstring units;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (isEscape(text, i)) {
            units += static_cast<wchar_t>(std::strtol(text.substr(i + 2, 4).c_str(), nullptr, 16));
            i += escapeLength - 1;
        } else {
            units += static_cast<wchar_t>(static_cast<unsigned char>(text[i]));
        }
    }
    return units;
}

std::vector<std::wstring> decodeLines(const std::string& section) {
    std::vector<std::wstring> lines;
    std::size_t begin = 0;
    while (begin < section.size()) {
        const std::size_t end = std::min(section.find('\n', begin), section.size());
        lines.push_back(decodeText(section.substr(begin, end - begin)));
        begin = end + 1;
    }
    return lines;
}

zellauncher::PropertyList decodeEntries(const std::string& section) {
    zellauncher::PropertyList list;
    for (const std::wstring& line : decodeLines(section)) {
        const std::size_t separator = std::min(line.find(L'='), line.size());
        list.push_back({line.substr(0, separator), line.substr(std::min(separator + 1, line.size()))});
    }
    return list;
}

}  // namespace fuzz
