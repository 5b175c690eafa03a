#include "foundation/text_stream.h"

#include <algorithm>
#include <optional>

#include "foundation/byte_scan.h"
#include "foundation/text.h"
#include "platform/errors.h"

namespace zellauncher {

namespace {

constexpr std::size_t blockSize = 16384;
constexpr int noCharacter = -1;
constexpr char endMark = '\x1A';  // Ctrl-Z ends a text file

// Appends the next block of the file to the text that was read ahead. False at the end of the file.
bool readBlock(TextStream& text) {
    const std::size_t former = text.readAhead.size();
    text.readAhead.resize(former + blockSize);
    const platform::ReadResult result =
        platform::readStream(text.stream, text.readAhead.data() + former, blockSize);
    text.readAhead.resize(former + result.count);
    text.hasFailed = text.hasFailed || result.hasFailed;
    return result.count > 0;
}

// Ends the text at the first Ctrl-Z from this position on.
bool cutAtEndMark(TextStream& text, std::size_t begin) {
    const std::size_t end = begin + findAny<endMark>(std::string_view(text.readAhead).substr(begin));
    const bool isFound = end < text.readAhead.size();
    text.readAhead.resize(end);
    return isFound;
}

// Replaces the bytes that were read ahead by the next ones of the file. A block that ends with a CR is read
// on, because a line feed may follow.
void readAhead(TextStream& text) {
    text.readAhead.clear();
    text.readPosition = 0;
    for (std::size_t former = 0; !text.hasEndMark && readBlock(text); former = text.readAhead.size()) {
        text.hasEndMark = cutAtEndMark(text, former);
        if (text.hasEndMark || text.readAhead.back() != '\r') {
            break;
        }
    }
    text.endOfFile = text.readAhead.empty();
}

// The next bytes, without consuming them; none only at the end.
std::string_view unread(TextStream& text) {
    if (text.readPosition == text.readAhead.size() && !atEnd(text)) {
        readAhead(text);
    }
    return std::string_view(text.readAhead).substr(text.readPosition);
}

void consume(TextStream& text, std::size_t count) {
    text.position.pass(std::string_view(text.readAhead).substr(text.readPosition, count));
    text.readPosition += count;
}

// A CR is one character here, also before a line feed.
int peekCharacter(TextStream& text) {
    const std::string_view next = unread(text);
    return next.empty() ? noCharacter : static_cast<unsigned char>(next.front());
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

bool isWhiteSpace(char character) {
    return character == ' ' || (character >= '\t' && character <= '\r');
}

std::size_t whiteSpaceEnd(std::string_view bytes, std::size_t begin) {
    while (begin < bytes.size() && isWhiteSpace(bytes[begin])) {
        ++begin;
    }
    return begin;
}

// As many of the bytes as belong to a line that has this many characters already.
std::string_view lineAt(std::string_view bytes, std::size_t already = 0) {
    const std::size_t most = lineCharacters - already;
    const std::size_t end = findAny<'\n'>(bytes.substr(0, most + 2));
    const std::string_view line = bytes.substr(0, end);
    const bool endsInCrLf = end < bytes.size() && line.ends_with('\r');
    return line.substr(0, std::min(most, end - (endsInCrLf ? 1 : 0)));
}

// Reads a line and the white space after it that do not end in what was read ahead.
std::string_view gatheredLine(TextStream& text) {
    text.gathered.clear();
    for (std::string_view next = unread(text); !next.empty(); next = unread(text)) {
        const std::string_view part = lineAt(next, text.gathered.size());
        if (part.empty()) {
            break;
        }
        text.gathered += part;
        consume(text, part.size());
    }
    skipWhiteSpace(text);
    return text.gathered;
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
    text.hasEndMark = false;
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
    std::string_view bytes;
    const ScanResult result = scanLine(text, blanks, bytes);
    line = widen(bytes);
    return result;
}

ScanResult scanLine(TextStream& text, LineBlanks blanks, std::string_view& line) {
    if (blanks == LineBlanks::skipLeading) {
        skipWhiteSpace(text);
    }
    const std::string_view next = unread(text);
    line = lineAt(next);
    if (line.empty()) {
        return next.empty() ? ScanResult::endOfData : ScanResult::nothing;
    }
    text.position.beginLine();
    const std::size_t end = whiteSpaceEnd(next, line.size());
    if (end < next.size()) {
        consume(text, end);
    } else {
        line = gatheredLine(text);
    }
    line = line.substr(0, findAny<'\0'>(line));
    return ScanResult::matched;
}

void skipWhiteSpace(TextStream& text) {
    for (std::string_view next = unread(text); !next.empty() && isWhiteSpace(next.front());
         next = unread(text)) {
        consume(text, whiteSpaceEnd(next, 0));
    }
}

void skipNuls(TextStream& text) {
    while (peekCharacter(text) == '\0') {
        consume(text, 1);
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
        consume(text, 1);
        character = peekCharacter(text);
    }
    if (!isDigit(character)) {
        return ScanResult::nothing;
    }
    for (; isDigit(character); character = peekCharacter(text)) {
        digits += static_cast<wchar_t>(character);
        consume(text, 1);
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
