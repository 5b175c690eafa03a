#include "foundation/formatter.h"

#include <algorithm>

#include "foundation/text.h"

namespace zellauncher {

namespace {

constexpr std::size_t widestField = 4096;

struct Conversion {
    bool isSupported = true;        // otherwise it gives nothing
    std::size_t starArguments = 0;  // a width or precision given as `*`
    bool padsWithZeros = false;
    std::size_t width = 0;
    std::size_t precision = 0;
    bool hasPrecision = false;
    wchar_t letter = L'\0';
};

bool isDigit(wchar_t unit) {
    return unit >= L'0' && unit <= L'9';
}

std::size_t readCount(std::wstring_view format, std::size_t& position) {
    std::size_t count = 0;
    for (; position < format.size() && isDigit(format[position]); ++position) {
        count = std::min(widestField, count * 10 + static_cast<std::size_t>(format[position] - L'0'));
    }
    return count;
}

bool isAt(std::wstring_view format, std::size_t position, std::wstring_view units) {
    return position < format.size() && units.find(format[position]) != std::wstring_view::npos;
}

void readFlags(std::wstring_view format, std::size_t& position, Conversion& conversion) {
    for (; isAt(format, position, L"0-+ #"); ++position) {
        const bool isZero = format[position] == L'0';
        conversion.padsWithZeros = conversion.padsWithZeros || isZero;
        conversion.isSupported = conversion.isSupported && isZero;
    }
}

std::size_t readWidth(std::wstring_view format, std::size_t& position, Conversion& conversion) {
    if (!isAt(format, position, L"*")) {
        return readCount(format, position);
    }
    ++position;
    ++conversion.starArguments;
    conversion.isSupported = false;
    return 0;
}

// The sizes of the C library, and the runtime's `I`, `I32`, `I64` and `w`. Only `h`, `l` and `w` are
// supported; they change nothing.
void readSizes(std::wstring_view format, std::size_t& position, Conversion& conversion) {
    for (; isAt(format, position, L"hlwLjztI"); ++position) {
        conversion.isSupported = conversion.isSupported && isAt(format, position, L"hlw");
        const std::wstring_view digits = format.substr(position + 1, 2);
        if (format[position] == L'I' && (digits == L"32" || digits == L"64")) {
            position += digits.size();
        }
    }
}

// Reads a conversion after its `%`. The letter is NUL if the format ends there.
Conversion readConversion(std::wstring_view format, std::size_t& position) {
    Conversion conversion;
    readFlags(format, position, conversion);
    conversion.width = readWidth(format, position, conversion);
    if (isAt(format, position, L".")) {
        ++position;
        conversion.hasPrecision = true;
        conversion.precision = readWidth(format, position, conversion);
    }
    readSizes(format, position, conversion);
    if (position < format.size()) {
        conversion.letter = format[position++];
    }
    return conversion;
}

std::wstring digitsOf(std::uint64_t number, std::uint64_t base, bool isUpper) {
    std::wstring digits;
    do {
        const std::uint64_t digit = number % base;
        digits +=
            static_cast<wchar_t>(digit < 10 ? L'0' + static_cast<wchar_t>(digit)
                                            : (isUpper ? L'A' : L'a') + static_cast<wchar_t>(digit - 10));
        number /= base;
    } while (number != 0);
    std::reverse(digits.begin(), digits.end());
    return digits;
}

std::wstring pad(const Conversion& conversion, const std::wstring& sign, std::wstring digits) {
    if (digits.size() < conversion.precision) {
        digits.insert(0, conversion.precision - digits.size(), L'0');
    }
    const std::size_t length = sign.size() + digits.size();
    const std::size_t missing = conversion.width > length ? conversion.width - length : 0;
    if (conversion.padsWithZeros && !conversion.hasPrecision) {
        return sign + std::wstring(missing, L'0') + digits;
    }
    return std::wstring(missing, L' ') + sign + digits;
}

std::wstring formatSigned(const Conversion& conversion, std::int64_t number) {
    const bool isNegative = number < 0;
    const std::uint64_t magnitude =
        isNegative ? 0U - static_cast<std::uint64_t>(number) : static_cast<std::uint64_t>(number);
    return pad(conversion, isNegative ? L"-" : L"", digitsOf(magnitude, 10, false));
}

std::wstring formatWords(const Conversion& conversion, const std::wstring& text) {
    const std::wstring cut = conversion.hasPrecision ? text.substr(0, conversion.precision) : text;
    return cut.size() < conversion.width ? std::wstring(conversion.width - cut.size(), L' ') + cut : cut;
}

std::wstring formatOne(const Conversion& conversion, const FormatArgument& argument) {
    if (!conversion.isSupported) {
        return {};
    }
    const auto* text = std::get_if<std::wstring>(&argument);
    const auto* signedNumber = std::get_if<std::int64_t>(&argument);
    const auto* unsignedNumber = std::get_if<std::uint64_t>(&argument);
    switch (conversion.letter) {
        case L's':
        case L'S':
            return text != nullptr ? formatWords(conversion, *text) : std::wstring();
        case L'd':
        case L'i':
            return signedNumber != nullptr ? formatSigned(conversion, *signedNumber) : std::wstring();
        case L'u':
            return unsignedNumber != nullptr ? pad(conversion, L"", digitsOf(*unsignedNumber, 10, false))
                                             : std::wstring();
        case L'x':
        case L'X':
            return unsignedNumber != nullptr
                       ? pad(conversion, L"", digitsOf(*unsignedNumber, 16, conversion.letter == L'X'))
                       : std::wstring();
        default:
            return {};
    }
}

}  // namespace

std::wstring formatText(std::wstring_view format, std::initializer_list<FormatArgument> arguments) {
    std::wstring result;
    const FormatArgument* next = arguments.begin();
    for (std::size_t position = 0; position < format.size();) {
        if (format[position] != L'%') {
            result += format[position++];
            continue;
        }
        ++position;
        const Conversion conversion = readConversion(format, position);
        next += std::min(conversion.starArguments, static_cast<std::size_t>(arguments.end() - next));
        if (conversion.letter == L'%') {
            result += conversion.isSupported ? L"%" : L"";
        } else if (next != arguments.end()) {
            result += formatOne(conversion, *next++);
        }
    }
    return result;
}

}  // namespace zellauncher
