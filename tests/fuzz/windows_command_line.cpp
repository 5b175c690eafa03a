#include "fuzz/windows_command_line.h"

#include <cstddef>

namespace fuzz {

namespace {

// One unit after the other; what it means depends on the backslashes and the quotes in front of it.
//
// The third of three quotes in a row is a character, where one that opened the quoted part counts as the
// first; the count then begins anew, outside of quotes. Two in a row therefore open and close, or close
// and open again.
class WordReader {
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
        addBackslashes(backslashes / 2);
        isInWord = true;
        if (isCharacter) {
            word += L'"';
        } else if (++quotes == 3) {
            word += L'"';
            quotes = 0;
        }
        isInRow = true;
    }

    // Two that stood in a row are none; one goes on being open.
    void endRow() {
        quotes = isInRow && quotes == 2 ? 0 : quotes;
        isInRow = false;
    }

    void takePlain(wchar_t unit) {
        endRow();
        addBackslashes(backslashes);
        if (quotes == 0 && (unit == L' ' || unit == L'\t')) {
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
    int quotes = 0;
    bool isInWord = false;
    bool isInRow = false;
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
