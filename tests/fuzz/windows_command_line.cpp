#include "fuzz/windows_command_line.h"

#include <cstddef>

namespace fuzz {

namespace {

// Takes one unit after the other; its meaning depends on the backslashes and quotes before it.
//
// The third of three quotes in a row is a character. The quote that opened the quoted part is the first
// of them. After the third the count restarts, outside of quotes. So two in a row open and close, or
// close and open again.
class ArgumentReader {
public:
    void take(wchar_t unit) {
        if (unit == L'\\') {
            endRow();
            ++backslashes;
        } else if (unit == L'"') {
            takeQuote();
        } else {
            takePlain(unit);
        }
    }

    std::vector<std::wstring> finish() {
        addBackslashes(backslashes);
        endArgument();
        return arguments;
    }

private:
    void addBackslashes(std::size_t count) {
        argument.append(count, L'\\');
        isInArgument = isInArgument || count > 0;
        backslashes = 0;
    }

    void takeQuote() {
        const bool isCharacter = backslashes % 2 == 1;
        addBackslashes(backslashes / 2);
        isInArgument = true;
        if (isCharacter) {
            argument += L'"';
        } else if (++quotes == 3) {
            argument += L'"';
            quotes = 0;
        }
        isInRow = true;
    }

    // Two quotes in a row cancel out; a single one stays open.
    void endRow() {
        quotes = isInRow && quotes == 2 ? 0 : quotes;
        isInRow = false;
    }

    void takePlain(wchar_t unit) {
        endRow();
        addBackslashes(backslashes);
        if (quotes == 0 && (unit == L' ' || unit == L'\t')) {
            endArgument();
        } else {
            argument += unit;
            isInArgument = true;
        }
    }

    void endArgument() {
        if (isInArgument) {
            arguments.push_back(argument);
        }
        argument.clear();
        isInArgument = false;
    }

    std::vector<std::wstring> arguments;
    std::wstring argument;
    std::size_t backslashes = 0;
    int quotes = 0;
    bool isInArgument = false;
    bool isInRow = false;
};

std::size_t endOfProgram(const std::wstring& commandLine) {
    const bool isQuoted = commandLine.starts_with(L"\"");
    const std::size_t end = commandLine.find_first_of(isQuoted ? L"\"" : L" \t", 1);
    return end == std::wstring::npos ? commandLine.size() : end + (isQuoted ? 1 : 0);
}

}  // namespace

std::vector<std::wstring> windowsArguments(const std::wstring& commandLine) {
    if (commandLine.empty()) {
        return {};
    }
    const std::size_t end = endOfProgram(commandLine);
    std::wstring program = commandLine.substr(0, end);
    std::erase(program, L'"');
    ArgumentReader reader;
    for (const wchar_t unit : commandLine.substr(end)) {
        reader.take(unit);
    }
    std::vector<std::wstring> arguments = reader.finish();
    arguments.insert(arguments.begin(), program);
    return arguments;
}

}  // namespace fuzz
