#include "fuzz/reference_lines.h"

#include <algorithm>

namespace fuzz {

namespace {

constexpr std::size_t longestLine = 2024;
constexpr const wchar_t* whiteSpace = L" \t\n\v\f\r";

std::wstring textModeCharacters(const std::string& bytes) {
    std::wstring characters;
    for (std::size_t i = 0; i < bytes.size() && bytes[i] != '\x1A'; ++i) {
        if (bytes.compare(i, 2, "\r\n") != 0) {
            characters += static_cast<wchar_t>(static_cast<unsigned char>(bytes[i]));
        }
    }
    return characters;
}

}  // namespace

std::vector<std::wstring> referenceLines(const std::string& bytes, LeadingSpace leadingSpace) {
    const std::wstring text = textModeCharacters(bytes);
    std::vector<std::wstring> lines;
    std::size_t begin = 0;
    if (leadingSpace == LeadingSpace::skipped || text.starts_with(L"\n")) {
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

std::wstring trimBlanks(const std::wstring& text) {
    const std::size_t first = text.find_first_not_of(L' ');
    return first == std::wstring::npos ? text : text.substr(first, text.find_last_not_of(L' ') - first + 1);
}

}  // namespace fuzz
