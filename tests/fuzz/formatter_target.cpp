#include "foundation/formatter.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <vector>

#include "foundation/log_channel.h"
#include "fuzz/input_sections.h"
#include "fuzz/launcher_runner.h"
#include "fuzz/peak_memory.h"
#include "fuzz/printable.h"
#include "fuzz/target.h"

// The input is a format and arguments. The text must be that of a second formatter, which leaves each
// conversion that it knows to the C library. In the log, a hostile format must give one bounded line.
namespace fuzz {

namespace {

using zellauncher::FormatArgument;

constexpr std::size_t widestField = 4096;
constexpr std::size_t mostArguments = 3;

// `d42` is a signed number, `u42` an unsigned one, anything else a text.
FormatArgument argumentOf(const std::wstring& line) {
    const bool isNumber =
        line.size() > 1 && line.size() < 20 && (line[0] == L'd' || line[0] == L'u') &&
        std::all_of(line.begin() + 1, line.end(), [](wchar_t c) { return c >= L'0' && c <= L'9'; });
    if (!isNumber) {
        const bool isNegative = line.starts_with(L"d-") && line.size() < 20;
        return isNegative
                   ? FormatArgument(-static_cast<std::int64_t>(std::wcstoull(line.c_str() + 2, nullptr, 10)))
                   : FormatArgument(line);
    }
    const std::uint64_t number = std::wcstoull(line.c_str() + 1, nullptr, 10);
    return line[0] == L'd' ? FormatArgument(static_cast<std::int64_t>(number)) : FormatArgument(number);
}

bool isIn(wchar_t unit, std::wstring_view set) {
    return set.find(unit) != std::wstring_view::npos;
}

struct Field {
    bool isKnown = true;
    std::size_t stars = 0;
    wchar_t letter = L'\0';
    bool isZeroPadded = false;
    int width = 0;
    int precision = -1;  // none
};

using Buffer = std::array<char, 2 * widestField>;

// A number as the C library formats it, except that the launcher writes a digit for a zero with the
// precision zero. With a precision the flag has no effect.
int print(Buffer& text, const Field& field, wchar_t letter, long long number) {
    const auto bits = static_cast<unsigned long long>(number);
    const bool isPadded = field.isZeroPadded && field.precision < 0;
    const int width = field.width;
    const int precision = field.precision == 0 ? 1 : field.precision;
    char* to = text.data();
    const std::size_t size = text.size();
    switch (letter) {
        case L'u':
            return isPadded ? std::snprintf(to, size, "%0*llu", width, bits)
                            : std::snprintf(to, size, "%*.*llu", width, precision, bits);
        case L'x':
            return isPadded ? std::snprintf(to, size, "%0*llx", width, bits)
                            : std::snprintf(to, size, "%*.*llx", width, precision, bits);
        case L'X':
            return isPadded ? std::snprintf(to, size, "%0*llX", width, bits)
                            : std::snprintf(to, size, "%*.*llX", width, precision, bits);
        default:
            return isPadded ? std::snprintf(to, size, "%0*lld", width, number)
                            : std::snprintf(to, size, "%*.*lld", width, precision, number);
    }
}

std::wstring numberOf(const Field& field, wchar_t letter, const FormatArgument& argument) {
    Buffer text{};
    int length = 0;
    if (const auto* number = std::get_if<std::int64_t>(&argument); number && isIn(letter, L"di")) {
        length = print(text, field, letter, *number);
    }
    if (const auto* number = std::get_if<std::uint64_t>(&argument); number && isIn(letter, L"uxX")) {
        length = print(text, field, letter, static_cast<long long>(*number));
    }
    return {text.begin(), text.begin() + length};
}

std::wstring textOf(const Field& field, const FormatArgument& argument) {
    if (!isIn(field.letter, L"sS")) {
        return numberOf(field, field.letter, argument);
    }
    const auto* text = std::get_if<std::wstring>(&argument);
    if (text == nullptr) {
        return {};
    }
    const std::wstring shown =
        field.precision < 0 ? *text : text->substr(0, static_cast<std::size_t>(field.precision));
    const auto width = static_cast<std::size_t>(field.width);
    return std::wstring(width - std::min(width, shown.size()), L' ') + shown;
}

int takeCount(const std::wstring& format, std::size_t& i) {
    int count = 0;
    for (; i < format.size() && isIn(format[i], L"0123456789"); ++i) {
        count = std::min(static_cast<int>(widestField), count * 10 + static_cast<int>(format[i] - L'0'));
    }
    return count;
}

// The number at `i`, or the star, which makes the field unknown.
int takeNumberOrStar(const std::wstring& format, std::size_t& i, Field& field) {
    if (i == format.size() || format[i] != L'*') {
        return takeCount(format, i);
    }
    ++i;
    ++field.stars;
    field.isKnown = false;
    return 0;
}

// Length of the size prefix at `i`; 0 if there is none.
std::size_t sizeAt(const std::wstring& format, std::size_t i) {
    for (const std::wstring prefix : {L"I64", L"I32", L"I", L"L", L"j", L"z", L"t", L"h", L"l", L"w"}) {
        if (format.compare(i, prefix.size(), prefix) == 0) {
            return prefix.size();
        }
    }
    return 0;
}

// The field that begins after a percent sign.
Field takeField(const std::wstring& format, std::size_t& i) {
    Field field;
    const std::size_t flagsEnd = std::min(format.find_first_not_of(L"-+ #0", i), format.size());
    const std::wstring flags = format.substr(i, flagsEnd - i);
    i = flagsEnd;
    field.isKnown = flags == std::wstring(flags.size(), L'0');
    field.isZeroPadded = !flags.empty();
    field.width = takeNumberOrStar(format, i, field);
    if (i < format.size() && format[i] == L'.') {
        ++i;
        field.precision = takeNumberOrStar(format, i, field);
    }
    for (std::size_t length = sizeAt(format, i); length > 0; length = sizeAt(format, i)) {
        field.isKnown = field.isKnown && isIn(format[i], L"hlw");
        i += length;
    }
    field.letter = i < format.size() ? format[i++] : L'\0';
    return field;
}

std::wstring formatAgain(const std::wstring& format, const std::vector<FormatArgument>& arguments) {
    std::wstring text;
    std::size_t used = 0;
    for (std::size_t i = 0; i < format.size();) {
        if (format[i] != L'%') {
            text += format[i++];
            continue;
        }
        const Field field = takeField(format, ++i);
        used += field.stars;
        if (field.letter == L'%') {
            text += field.isKnown ? L"%" : L"";
        } else if (used++ < arguments.size() && field.isKnown) {
            text += textOf(field, arguments[used - 1]);
        }
    }
    return text;
}

std::wstring formatWith(const std::wstring& format, const std::vector<FormatArgument>& arguments) {
    switch (arguments.size()) {
        case 0:
            return zellauncher::formatText(format, {});
        case 1:
            return zellauncher::formatText(format, {arguments[0]});
        case 2:
            return zellauncher::formatText(format, {arguments[0], arguments[1]});
        default:
            return zellauncher::formatText(format, {arguments[0], arguments[1], arguments[2]});
    }
}

// The log drops a line that is too long.
void expectBoundedLine(const std::wstring& format, const std::wstring& argument) {
    constexpr std::size_t longestLine = 6 * 4000;  // a character may be written as `\uXXXX`
    constexpr std::size_t otherLines = 200;
    LauncherRunner runner;
    const launchertest::Outcome outcome = runner.run([&] { zellauncher::logDebugF(format, argument); });
    expect(outcome.processEnd().status == 0, "a debug line is never fatal");
    expect(outcome.log.size() <= longestLine + otherLines, "a debug line is bounded");
}

}  // namespace

void runInput(const std::string& bytes) {
    Sections sections = readSections(bytes);
    const std::wstring format = decodeText(sections["format"]);
    std::vector<FormatArgument> arguments;
    std::size_t length = format.size();
    for (const std::wstring& line : decodeLines(sections["arguments"])) {
        if (arguments.size() < mostArguments) {
            arguments.push_back(argumentOf(line));
            length += line.size();
        }
    }
    std::wstring text;
    const PeakMemory memory;
    text = formatWith(format, arguments);
    // Each argument is at most as long as itself or its field.
    const std::size_t mostUnits = length + arguments.size() * (widestField + 24);
    expect(text.size() <= mostUnits, "the text is not longer than its parts");
    expect(memory.bytes() <= 4096 + 8 * sizeof(wchar_t) * (mostUnits + widestField),
           "memory is bounded: " + std::to_string(memory.bytes()));
    const std::wstring expected = formatAgain(format, arguments);
    expect(text == expected, printable(text) + " should be " + printable(expected));
    expectBoundedLine(format, arguments.empty() ? L"" : format);
}

}  // namespace fuzz
