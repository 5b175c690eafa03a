#include "simulation/command_line.h"

#include <algorithm>
#include <cstddef>

// Splitting a command line by the rules of CommandLineToArgvW.
namespace simulation {

namespace {

bool isBlank(wchar_t unit) {
    return unit == L' ' || unit == L'\t';
}

// The program ends at its closing quote or at the first blank. It has no escapes.
std::wstring takeProgram(const std::wstring& text, std::size_t& position) {
    const bool isQuoted = !text.empty() && text.front() == L'"';
    const std::size_t begin = isQuoted ? 1 : 0;
    const std::size_t end = std::min(text.size(), text.find_first_of(isQuoted ? L"\"" : L" \t", begin));
    position = isQuoted ? end + 1 : end;
    return text.substr(begin, end - begin);
}

// Backslashes are ordinary characters except before a double quote: there two of them are one, and an odd
// one escapes the quote. Two quotes inside quotes are one quote character and end the quoting.
std::wstring takeArgument(const std::wstring& text, std::size_t& position) {
    std::wstring argument;
    bool isQuoted = false;
    while (true) {
        std::size_t backslashes = 0;
        for (; position < text.size() && text[position] == L'\\'; ++position) {
            ++backslashes;
        }
        const bool isAtQuote = position < text.size() && text[position] == L'"';
        argument.append(isAtQuote ? backslashes / 2 : backslashes, L'\\');
        if (position >= text.size() || (!isQuoted && isBlank(text[position]))) {
            return argument;
        }
        if (!isAtQuote || backslashes % 2 == 1) {
            argument += text[position++];
        } else if (isQuoted && position + 1 < text.size() && text[position + 1] == L'"') {
            argument += L'"';
            position += 2;
            isQuoted = false;
        } else {
            isQuoted = !isQuoted;
            ++position;
        }
    }
}

}  // namespace

std::vector<std::wstring> splitCommandLine(const std::wstring& commandLine) {
    std::size_t position = 0;
    std::vector<std::wstring> arguments = {takeProgram(commandLine, position)};
    while (true) {
        while (position < commandLine.size() && isBlank(commandLine[position])) {
            ++position;
        }
        if (position >= commandLine.size()) {
            return arguments;
        }
        arguments.push_back(takeArgument(commandLine, position));
    }
}

}  // namespace simulation
