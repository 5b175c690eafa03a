#include "fuzz/text_lines.h"

#include <algorithm>
#include <cstdio>

namespace fuzz {

namespace {

constexpr const wchar_t* whiteSpace = L" \t\n\v\f\r";

}  // namespace

std::wstring charactersOf(const std::string& bytes) {
    std::wstring characters;
    for (std::size_t i = 0; i < bytes.size() && bytes[i] != '\x1A'; ++i) {
        if (bytes.compare(i, 2, "\r\n") != 0) {
            characters += static_cast<wchar_t>(static_cast<unsigned char>(bytes[i]));
        }
    }
    return characters;
}

std::vector<std::wstring> readLines(const std::string& bytes, bool skipsLeading) {
    const std::wstring text = charactersOf(bytes);
    std::vector<std::wstring> lines;
    std::size_t begin = 0;
    if (skipsLeading || text.starts_with(L"\n")) {
        begin = text.find_first_not_of(whiteSpace);
    }
    while (begin < text.size()) {
        const std::size_t end = std::min({text.find(L'\n', begin), begin + longestLine, text.size()});
        const std::wstring line = text.substr(begin, end - begin);
        lines.push_back(line.substr(0, line.find(L'\0')));
        begin = text.find_first_not_of(whiteSpace, end);
    }
    return lines;
}

std::wstring trimmed(const std::wstring& text) {
    const std::size_t first = text.find_first_not_of(L' ');
    return first == std::wstring::npos ? text : text.substr(first, text.find_last_not_of(L' ') - first + 1);
}

std::string printable(const std::wstring& text) {
    std::string bytes;
    for (const wchar_t unit : text) {
        if (unit >= 0x20 && unit < 0x7F) {
            bytes += static_cast<char>(unit);
            continue;
        }
        char escaped[16];
        std::snprintf(escaped, sizeof escaped, "<%04X>", static_cast<unsigned>(unit));
        bytes += escaped;
    }
    return bytes;
}

}  // namespace fuzz
