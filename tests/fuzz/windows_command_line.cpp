#include "fuzz/windows_command_line.h"

#include <cstddef>

namespace fuzz {

namespace {

// One unit after the other; what it means depends on the backslashes in front of it and on the quotes.
class WordReader {
public:
    void take(wchar_t unit) {
        if (unit == L'\\') {
            ++backslashes;
            hasJustClosed = false;
        } else if (unit == L'"') {
            takeQuote();
        } else {
            takePlain(unit);
        }
    }

    std::vector<std::wstring> finish() {
        addBackslashes(backslashes);
        endWord();
        return words;
    }

private:
    void addBackslashes(std::size_t count) {
        word.append(count, L'\\');
        isInWord = isInWord || count > 0;
        backslashes = 0;
    }

    void takeQuote() {
        const bool isCharacter = backslashes % 2 == 1;
        const bool hasBackslashes = backslashes > 0;
        addBackslashes(backslashes / 2);
        isInWord = true;
        if (isCharacter) {
            word += L'"';
        } else if (hasJustClosed && !hasBackslashes) {
            word += L'"';  // the second of two: both are one character, and the quotes go on
            isQuoted = true;
            hasJustClosed = false;
            return;
        } else {
            hasJustClosed = isQuoted;
            isQuoted = !isQuoted;
            return;
        }
        hasJustClosed = false;
    }

    void takePlain(wchar_t unit) {
        addBackslashes(backslashes);
        hasJustClosed = false;
        if (!isQuoted && (unit == L' ' || unit == L'\t')) {
            endWord();
        } else {
            word += unit;
            isInWord = true;
        }
    }

    void endWord() {
        if (isInWord) {
            words.push_back(word);
        }
        word.clear();
        isInWord = false;
    }

    std::vector<std::wstring> words;
    std::wstring word;
    std::size_t backslashes = 0;
    bool isInWord = false;
    bool isQuoted = false;
    bool hasJustClosed = false;
};

std::size_t endOfProgram(const std::wstring& commandLine) {
    const bool isQuoted = commandLine.starts_with(L"\"");
    const std::size_t end = commandLine.find_first_of(isQuoted ? L"\"" : L" \t", 1);
    return end == std::wstring::npos ? commandLine.size() : end + (isQuoted ? 1 : 0);
}

}  // namespace

std::vector<std::wstring> wordsOfCommandLine(const std::wstring& commandLine) {
    if (commandLine.empty()) {
        return {};
    }
    const std::size_t end = endOfProgram(commandLine);
    std::wstring program = commandLine.substr(0, end);
    std::erase(program, L'"');
    WordReader reader;
    for (const wchar_t unit : commandLine.substr(end)) {
        reader.take(unit);
    }
    std::vector<std::wstring> words = reader.finish();
    words.insert(words.begin(), program);
    return words;
}

}  // namespace fuzz
