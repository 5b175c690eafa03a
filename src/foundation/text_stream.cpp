#include "foundation/text_stream.h"

#include <algorithm>
#include <optional>

#include "foundation/text.h"
#include "platform/errors.h"

namespace zellauncher {

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

// Otherwise nothing that is appended could be read again. False if the mark could not be removed, and if an
// appending stream could not look for it. The lock file must open although its bytes are locked.
bool removeFinalEndMark(platform::Stream* stream, bool appends) {
    const std::optional<std::uint64_t> position = platform::seekToLastByte(stream);
    bool isKnown = position || platform::lastError() == platform::errorNegativeSeek;
    bool isRemoved = true;
    if (position) {
        char last = '\0';
        isKnown = !platform::readStream(stream, &last, 1).hasFailed;
        isRemoved = last != endMark || platform::truncateStream(stream, *position);
    }
    return platform::rewindStream(stream) && isRemoved && (isKnown || !appends);
}

void takeCharacter(TextStream& text) {
    text.position.pass(text.readAhead[text.readPosition]);
    ++text.readPosition;
}

bool isWhiteSpace(int character) {
    return character == ' ' || (character >= '\t' && character <= '\r');
}

bool isDigit(int character) {
    return character >= '0' && character <= '9';
}

}  // namespace

TextStream openFile(const std::wstring& path, const char* mode) {
    TextStream text;
    text.stream = platform::openStream(path, mode);
    text.position.open(path);
    const std::string_view modeText = mode;
    const bool appends = modeText == "a+";
    const bool updates = appends || modeText == "r+";
    if (text.stream != nullptr && updates && !removeFinalEndMark(text.stream, appends)) {
        closeTextStream(text);
    }
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
    text.position.rewind();
    if (text.stream != nullptr) {
        platform::rewindStream(text.stream);
    }
}

bool flushTextStream(TextStream& text) {
    return text.stream != nullptr && platform::flushStream(text.stream);
}

bool atEnd(const TextStream& text) {
    return text.stream == nullptr || text.endOfFile;
}

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
    text.position.beginLine();
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

void skipNuls(TextStream& text) {
    while (peekCharacter(text) == '\0') {
        takeCharacter(text);
    }
}

bool readNextLine(TextStream& text, std::wstring& line) {
    while (!atEnd(text)) {
        switch (scanLine(text, LineBlanks::keepLeading, line)) {
            case ScanResult::matched:
                return true;
            case ScanResult::nothing:
                skipWhiteSpace(text);
                break;
            case ScanResult::endOfData:
                return false;
        }
    }
    return false;
}

ScanResult scanNumber(TextStream& text, std::int32_t& number) {
    skipWhiteSpace(text);
    int character = peekCharacter(text);
    if (character == noCharacter) {
        return ScanResult::endOfData;
    }
    std::wstring digits;
    if (character == '-' || character == '+') {
        digits += static_cast<wchar_t>(character);
        takeCharacter(text);
        character = peekCharacter(text);
    }
    if (!isDigit(character)) {
        return ScanResult::nothing;
    }
    for (; isDigit(character); character = peekCharacter(text)) {
        digits += static_cast<wchar_t>(character);
        takeCharacter(text);
    }
    number = parseDecimal(digits);
    return ScanResult::matched;
}

int putText(TextStream& text, std::wstring_view characters) {
    std::string bytes;
    bool isWhole = true;
    for (const wchar_t unit : characters) {
        char byte = 0;
        if (!unitToByte(unit, byte)) {
            isWhole = false;
            break;
        }
        if (byte == '\n') {
            bytes += '\r';
        }
        bytes += byte;
    }
    const bool isWritten = text.stream != nullptr && platform::writeStream(text.stream, bytes);
    return isWritten && isWhole ? static_cast<int>(characters.size()) : -1;
}

}  // namespace zellauncher
