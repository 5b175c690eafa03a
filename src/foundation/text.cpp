#include "foundation/text.h"

#include <algorithm>

#include "foundation/formatter.h"

namespace zellauncher {

namespace {

constexpr bool isWhiteSpace(wchar_t unit) {
    return unit == L' ' || (unit >= L'\t' && unit <= L'\r');
}

int hexDigit(wchar_t unit) {
    if (unit >= L'0' && unit <= L'9') {
        return static_cast<int>(unit - L'0');
    }
    if (unit >= L'a' && unit <= L'f') {
        return static_cast<int>(unit - L'a') + 10;
    }
    if (unit >= L'A' && unit <= L'F') {
        return static_cast<int>(unit - L'A') + 10;
    }
    return -1;
}

// Skips white space and a sign. True if the sign is a minus.
bool skipToDigits(std::wstring_view text, std::size_t& position) {
    while (position < text.size() && isWhiteSpace(text[position])) {
        ++position;
    }
    if (position < text.size() && (text[position] == L'+' || text[position] == L'-')) {
        return text[position++] == L'-';
    }
    return false;
}

}  // namespace

wchar_t byteToUnit(char byte) {
    return static_cast<wchar_t>(static_cast<unsigned char>(byte));
}

bool unitToByte(wchar_t unit, char& byte) {
    if (static_cast<std::uint32_t>(unit) > 0xFFU) {
        return false;
    }
    byte = static_cast<char>(static_cast<unsigned char>(unit));
    return true;
}

std::wstring widen(std::string_view bytes) {
    std::wstring text(bytes.size(), L'\0');
    std::transform(bytes.begin(), bytes.end(), text.begin(), byteToUnit);
    return text;
}

std::string wideToNarrow(const std::wstring& wide) {
    std::string bytes;
    bytes.reserve(wide.size());
    for (const wchar_t unit : wide) {
        char byte = 0;
        if (unitToByte(unit, byte)) {
            bytes += byte;
            continue;
        }
        for (const wchar_t escaped :
             formatText(L"\\u%04x", {std::uint64_t{static_cast<std::uint32_t>(unit)}})) {
            bytes += static_cast<char>(escaped);
        }
    }
    return bytes;
}

bool replaceFirst(std::wstring& text, std::wstring_view what, std::wstring_view replacement) {
    const std::size_t position = text.find(what);
    if (position == std::wstring::npos) {
        return false;
    }
    text.replace(position, what.size(), replacement);
    return true;
}

wchar_t lowerAscii(wchar_t unit) {
    return unit >= L'A' && unit <= L'Z' ? static_cast<wchar_t>(unit + (L'a' - L'A')) : unit;
}

bool equalIgnoringCase(std::wstring_view left, std::wstring_view right) {
    return std::equal(left.begin(), left.end(), right.begin(), right.end(),
                      [](wchar_t a, wchar_t b) { return lowerAscii(a) == lowerAscii(b); });
}

std::wstring upToNul(const std::wstring& text) {
    return text.substr(0, text.find(L'\0'));
}

std::int32_t parseDecimal(const std::wstring& text) {
    constexpr std::int64_t limit = std::int64_t{1} << 31;
    std::size_t position = 0;
    const bool isNegative = skipToDigits(text, position);
    std::int64_t number = 0;
    for (; position < text.size() && text[position] >= L'0' && text[position] <= L'9'; ++position) {
        number = number * 10 + static_cast<std::int64_t>(text[position] - L'0');
        if (number > limit) {
            number = limit;
        }
    }
    if (isNegative) {
        return static_cast<std::int32_t>(-number);
    }
    return static_cast<std::int32_t>(number == limit ? limit - 1 : number);
}

wchar_t parseHexUnit(std::wstring_view text) {
    std::size_t position = 0;
    const bool isNegative = skipToDigits(text, position);
    if (position + 1 < text.size() && text[position] == L'0' &&
        (text[position + 1] == L'x' || text[position + 1] == L'X')) {
        position += 2;
    }
    std::uint32_t number = 0;
    for (; position < text.size() && hexDigit(text[position]) >= 0; ++position) {
        number = number * 16 + static_cast<std::uint32_t>(hexDigit(text[position]));
    }
    return static_cast<wchar_t>((isNegative ? 0U - number : number) & 0xFFFFU);
}

}  // namespace zellauncher
