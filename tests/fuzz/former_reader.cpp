// The reader as it was before it worked on blocks, to compare with.
#include "fuzz/former_reader.h"

#include <algorithm>
#include <cstdint>
#include <string>

#include "foundation/log_channel.h"
#include "foundation/text.h"
#include "platform/streams.h"

using zellauncher::byteToUnit;
using zellauncher::ForcedLog;
using zellauncher::logDebug;
using zellauncher::logDebugF;
using zellauncher::logFatalF;
using zellauncher::parseHexUnit;
using zellauncher::upToNul;

namespace former {

struct TextStream {
    platform::Stream* stream = nullptr;
    std::string readAhead;         // bytes read from the file and not yet consumed
    std::size_t readPosition = 0;  // index of the next byte in readAhead
    bool endOfFile = false;        // a read reached the end of the file or a Ctrl-Z
    bool hasFailed = false;        // a read failed, which also ends the file
};

// Longest line that one formatted read takes.
inline constexpr std::size_t lineCharacters = 2024;

enum class LineBlanks { keepLeading, skipLeading };
enum class ScanResult { matched, nothing, endOfData };

// Opens a file in the runtime's mode "r", "r+", "w", "w+" or "a+".

// Back to the first character; clears the end-of-file state.

// True once a read has reached the end.

namespace {

constexpr std::size_t blockSize = 4096;
constexpr int noCharacter = -1;
constexpr char endMark = '\x1A';  // Ctrl-Z ends a text file

std::size_t readBlock(TextStream& text, char (&block)[blockSize]) {
    if (text.stream == nullptr) {
        return 0;
    }
    const platform::ReadResult result = platform::readStream(text.stream, block, blockSize);
    text.hasFailed = text.hasFailed || result.hasFailed;
    return result.count;
}

bool fillReadAhead(TextStream& text) {
    if (text.readPosition < text.readAhead.size()) {
        return true;
    }
    char block[blockSize];
    const std::size_t count = readBlock(text, block);
    text.readAhead.assign(block, count);
    text.readPosition = 0;
    return count > 0;
}

// The byte after the current one, without consuming anything.
int byteAfter(TextStream& text) {
    if (text.readPosition + 1 < text.readAhead.size()) {
        return static_cast<unsigned char>(text.readAhead[text.readPosition + 1]);
    }
    char block[blockSize];
    const std::size_t count = readBlock(text, block);
    text.readAhead.erase(0, text.readPosition);
    text.readPosition = 0;
    text.readAhead.append(block, count);
    return text.readAhead.size() > 1 ? static_cast<unsigned char>(text.readAhead[1]) : noCharacter;
}

// The next character in text mode, without consuming it; noCharacter at the end.
int peekCharacter(TextStream& text) {
    if (text.endOfFile || !fillReadAhead(text) || text.readAhead[text.readPosition] == endMark) {
        text.endOfFile = true;
        return noCharacter;
    }
    if (text.readAhead[text.readPosition] == '\r' && byteAfter(text) == '\n') {
        ++text.readPosition;
    }
    return static_cast<unsigned char>(text.readAhead[text.readPosition]);
}

void takeCharacter(TextStream& text) {
    ++text.readPosition;
}

bool isWhiteSpace(int character) {
    return character == ' ' || (character >= '\t' && character <= '\r');
}

}  // namespace

TextStream openFile(const std::wstring& path, const char* mode) {
    TextStream text;
    text.stream = platform::openStream(path, mode);
    return text;
}

bool closeTextStream(TextStream& text) {
    const bool isClosed = text.stream != nullptr && platform::closeStream(text.stream);
    text = TextStream{};
    return isClosed;
}

void rewindTextStream(TextStream& text) {
    text.readAhead.clear();
    text.readPosition = 0;
    text.endOfFile = false;
    text.hasFailed = false;
    if (text.stream != nullptr) {
        platform::rewindStream(text.stream);
    }
}

bool atEnd(const TextStream& text) {
    return text.stream == nullptr || text.endOfFile;
}

void skipWhiteSpace(TextStream& text);

ScanResult scanLine(TextStream& text, LineBlanks blanks, std::wstring& line) {
    line.clear();
    if (blanks == LineBlanks::skipLeading) {
        skipWhiteSpace(text);
    }
    int character = peekCharacter(text);
    if (character == noCharacter) {
        return ScanResult::endOfData;
    }
    if (character == '\n') {
        return ScanResult::nothing;
    }
    std::size_t count = 0;
    for (; character != noCharacter && character != '\n' && count < lineCharacters; ++count) {
        line += static_cast<wchar_t>(character);
        takeCharacter(text);
        character = peekCharacter(text);
    }
    skipWhiteSpace(text);
    line.resize(std::min(line.size(), line.find(L'\0')));
    return ScanResult::matched;
}

void skipWhiteSpace(TextStream& text) {
    while (isWhiteSpace(peekCharacter(text))) {
        takeCharacter(text);
    }
}

namespace {

constexpr std::size_t escapeDigits = 4;
void trimSpaces(std::wstring& text) {
    const std::size_t first = text.find_first_not_of(L' ');
    if (first == std::wstring::npos) {
        return;
    }
    text = text.substr(first, text.find_last_not_of(L' ') + 1 - first);
}

void unescapeValue(std::wstring& text) {
    std::wstring plain;
    plain.reserve(text.size());
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] != L'\\') {
            plain += text[i];
            continue;
        }
        if (i + 1 == text.size()) {
            break;
        }
        ++i;
        if (text[i] != L'u') {
            plain += text[i];
            continue;
        }
        const std::wstring digits = text.substr(i + 1, escapeDigits);
        plain += parseHexUnit(digits);
        i += digits.size();
    }
    trimSpaces(plain);
    text = upToNul(plain);
}

constexpr std::size_t plainLineLimit = 1000;

// One logical line, which may consist of several physical lines.
struct LogicalLine {
    std::wstring key;
    std::wstring value;
    bool inValue = false;        // a separator has ended the key
    bool continued = false;      // the next physical line continues this one
    bool jvmOptionLine = false;  // a line such as -Xoption:value keeps its separator
    bool isBegun = false;
};

bool isSeparator(wchar_t unit) {
    return unit == L'\t' || unit == L' ' || unit == L':' || unit == L'=';
}

bool losesItsBackslash(wchar_t unit) {
    return unit == L' ' || unit == L'#' || unit == L':' || unit == L'=';
}

bool isTooLong(const std::wstring& line) {
    return !line.starts_with(L"arg") && line.size() > plainLineLimit;
}

// Appends one character to the key or the value; in a value, two backslashes are one character.
// Returns the number of further characters consumed.
std::size_t appendCharacter(LogicalLine& logical, const std::wstring& line, std::size_t position,
                            bool& valueStarted) {
    if (!logical.inValue) {
        logical.key += line[position];
        return 0;
    }
    const bool isPair = line[position] == L'\\' && line[position + 1] == L'\\';
    if (isPair) {
        logical.value += L'\\';
    }
    logical.continued = false;
    valueStarted = true;
    logical.value += line[position];
    return isPair ? 1 : 0;
}

void appendLine(LogicalLine& logical, const std::wstring& line) {
    if (!logical.isBegun && line.size() >= 2) {
        logical.jvmOptionLine = line.starts_with(L"-X");
    }
    logical.isBegun = true;
    bool valueStarted = false;
    for (std::size_t i = 0; i < line.size(); ++i) {
        if (line[i] == L'\\' && i + 1 == line.size()) {
            logical.continued = true;
            break;
        }
        if (line[i] == L'\\' && losesItsBackslash(line[i + 1])) {
            ++i;
        }
        if (line[i] == L'\r') {
            continue;  // only a line feed ends a line
        }
        if (!valueStarted && isSeparator(line[i])) {
            logical.inValue = true;
            if (logical.jvmOptionLine) {
                logical.value += line[i];
            }
            continue;
        }
        i += appendCharacter(logical, line, i, valueStarted);
    }
}

// Required oddities: the key arg20 never has a value, and a line of one character keeps jvmOptionLine
// of the line before.
void finishLine(Entries& list, LogicalLine& logical) {
    trimSpaces(logical.key);
    logDebugF(L"ZLNCH0023I:   attrib = \"%s\"", logical.key);
    unescapeValue(logical.value);
    if (logical.key == L"arg20") {
        logical.value.clear();
    }
    list.push_back({logical.key, logical.value});
    logDebugF(L"ZLNCH0024I:   value  = \"%s\"", logical.value);
    const bool jvmOptionLine = logical.jvmOptionLine;
    logical = LogicalLine{};
    logical.jvmOptionLine = jvmOptionLine;
}

void logFailedReading(const std::wstring& path) {
    const ForcedLog forced;
    logDebugF(L"ZELLauncher> reading \"%s\" failed before its end", path);
}

}  // namespace

void loadPropertyFile(const std::wstring& path, Entries& list) {
    TextStream file = openFile(path, "r");
    if (file.stream == nullptr) {
        logFatalF("ZLNCH0096E: Unable to load %ls file!", path);
    }
    rewindTextStream(file);
    LogicalLine logical;
    std::wstring line;
    while (!atEnd(file) && scanLine(file, LineBlanks::skipLeading, line) != ScanResult::endOfData) {
        logDebugF(L"ZLNCH0032I: Prop Line = \"%s\"", line);
        if (isTooLong(line)) {
            logDebug(
                "ZLNCH0032I: Skipping line as it does not meet the criteria, length check reduced to 1000 "
                "chars ");
            continue;
        }
        if (line.starts_with(L"#")) {
            continue;
        }
        appendLine(logical, line);
        if (!logical.continued) {
            finishLine(list, logical);
        }
    }
    if (file.hasFailed) {
        logFailedReading(path);
    }
    closeTextStream(file);
}

}  // namespace former
