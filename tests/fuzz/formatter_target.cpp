#include "foundation/formatter.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <vector>

#include "foundation/log_channel.h"
#include "fuzz/allocation_account.h"
#include "fuzz/bench.h"
#include "fuzz/sections.h"
#include "fuzz/target.h"
#include "fuzz/text_lines.h"

// The input is a format and arguments. The whole text must be what a second formatter makes of it, which
// leaves each conversion that it knows to the C library; and what the log makes of a hostile format
// must stay a bounded line of the log.
namespace fuzz {

namespace {

using zellauncher::FormatArgument;

constexpr std::size_t widestField = 4096;
constexpr std::size_t mostArguments = 3;

// `d` in front of a number makes it a signed one, `u` an unsigned one; all else is a text.
FormatArgument argumentOf(const std::wstring& word) {
    const bool isNumber =
        word.size() > 1 && word.size() < 20 && (word[0] == L'd' || word[0] == L'u') &&
        std::all_of(word.begin() + 1, word.end(), [](wchar_t c) { return c >= L'0' && c <= L'9'; });
    if (!isNumber) {
        const bool isNegative = word.starts_with(L"d-") && word.size() < 20;
        return isNegative
                   ? FormatArgument(-static_cast<std::int64_t>(std::wcstoull(word.c_str() + 2, nullptr, 10)))
                   : FormatArgument(word);
    }
    const std::uint64_t number = std::wcstoull(word.c_str() + 1, nullptr, 10);
    return word[0] == L'd' ? FormatArgument(static_cast<std::int64_t>(number)) : FormatArgument(number);
}

bool isIn(wchar_t unit, std::wstring_view set) {
    return set.find(unit) != std::wstring_view::npos;
}

struct Field {
    bool isZeroPadded = false;
    int width = 0;
    int precision = -1;  // none
};

using Buffer = std::array<char, 2 * widestField>;

// A number by the C library, but for two habits of its own: it writes no digit at all for a zero with
// the precision zero, where the launcher writes one; and it takes flag and precision together.
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

std::wstring textOf(const Field& field, wchar_t letter, const FormatArgument& argument) {
    if (!isIn(letter, L"sS")) {
        return numberOf(field, letter, argument);
    }
    const auto* text = std::get_if<std::wstring>(&argument);
    if (text == nullptr) {
        return {};
    }
    const std::wstring cut =
        field.precision < 0 ? *text : text->substr(0, static_cast<std::size_t>(field.precision));
    const auto width = static_cast<std::size_t>(field.width);
    return std::wstring(width - std::min(width, cut.size()), L' ') + cut;
}

int takeCount(const std::wstring& format, std::size_t& i) {
    int count = 0;
    for (; i < format.size() && isIn(format[i], L"0123456789"); ++i) {
        count = std::min(static_cast<int>(widestField), count * 10 + static_cast<int>(format[i] - L'0'));
    }
    return count;
}

std::wstring formatAgain(const std::wstring& format, const std::vector<FormatArgument>& arguments) {
    std::wstring text;
    std::size_t used = 0;
    for (std::size_t i = 0; i < format.size();) {
        if (format[i] != L'%') {
            text += format[i++];
            continue;
        }
        ++i;
        Field field;
        field.isZeroPadded = i < format.size() && format[i] == L'0';
        field.width = takeCount(format, i);
        if (i < format.size() && format[i] == L'.') {
            field.precision = takeCount(format, ++i);
        }
        i = std::min(format.find_first_not_of(L"lhw", i), format.size());
        const wchar_t letter = i < format.size() ? format[i++] : L'\0';
        if (letter == L'%') {
            text += L'%';
        } else if (used < arguments.size()) {
            text += textOf(field, letter, arguments[used++]);
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

// A hostile format in the log: a line, or nothing.
void expectBoundedLine(const std::wstring& format, const std::wstring& argument) {
    constexpr std::size_t longestLine = 6 * 4000;  // each character may be written as `\uXXXX`
    constexpr std::size_t otherLines = 200;
    Bench bench;
    const launchertest::Outcome outcome = bench.run([&] { zellauncher::logDebugF(format, argument); });
    expect(outcome.end.status == 0, "a debug line ends nothing");
    expect(outcome.log.size() <= longestLine + otherLines, "a debug line is bounded");
}

}  // namespace

void runInput(const std::string& bytes) {
    Sections sections = readSections(bytes);
    const std::wstring format = unitsOf(sections["format"]);
    std::vector<FormatArgument> arguments;
    std::size_t length = format.size();
    for (const std::wstring& word : wordsOf(sections["arguments"])) {
        if (arguments.size() < mostArguments) {
            arguments.push_back(argumentOf(word));
            length += word.size();
        }
    }
    std::wstring text;
    const AllocationAccount account;
    text = formatWith(format, arguments);
    // A field for each argument, and no more than an argument is long.
    const std::size_t mostUnits = length + arguments.size() * (widestField + 24);
    expect(text.size() <= mostUnits, "a text is as long as its parts");
    expect(account.peakBytes() <= 4096 + 8 * sizeof(wchar_t) * (mostUnits + widestField),
           "memory is bounded: " + std::to_string(account.peakBytes()));
    const std::wstring expected = formatAgain(format, arguments);
    expect(text == expected, printable(text) + " is " + printable(expected));
    expectBoundedLine(format, arguments.empty() ? L"" : format);
}

}  // namespace fuzz
