#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "platform/streams.h"

// Text files as the launcher reads and writes them: 8-bit, one byte one character, CR LF on disk
// for a line feed. Reading and writing follow the runtime library's text mode and its formatted
// wide functions to the letter, but are the launcher's own, since runtimes differ there.
namespace zellauncher {

// A text file that is open, or not (stream null). Plain record; whoever opened it closes it with
// closeTextStream. The reading state is meaningful between two rewinds only.
struct TextStream {
    platform::Stream* stream = nullptr;
    std::string readAhead;         // bytes read and not yet taken
    std::size_t readPosition = 0;  // index of the next byte in readAhead
    bool endOfFile = false;        // a reading met the end (of the file, or at a Ctrl-Z)
    bool hasFailed = false;        // a reading failed, which counts as the end
};

// Characters that one line of a formatted read takes at most.
inline constexpr std::size_t lineCharacters = 2024;

enum class LineBlanks { keepLeading, skipLeading };
enum class ScanResult { matched, nothing, endOfData };

// Opens the file in the runtime's mode "r", "r+", "w", "w+" or "a+"; stream is null on failure and
// every other operation on it then fails without harm.
void openFile(TextStream& text, const std::wstring& path, const char* mode);
bool closeTextStream(TextStream& text);

// Back to the first character, with the end-of-file state cleared.
void rewindTextStream(TextStream& text);
bool flushTextStream(TextStream& text);

// True once a reading met the end.
bool atEnd(const TextStream& text);

// The formatted read of one line: "%2024[^\n]\n" (keepLeading) or " %2024[^\n]\n" (skipLeading).
// Takes up to 2024 characters up to the next line feed, then all white space that follows. White
// space is blank, tab, line feed, vertical tab, form feed and carriage return. `line` is emptied
// first and ends at its first NUL.
//   matched    a line was read
//   nothing    the next character is a line feed (keepLeading alone); nothing was taken
//   endOfData  the end came before any character
ScanResult scanLine(TextStream& text, LineBlanks blanks, std::wstring& line);

// Takes all white space at the current position: the way past an empty first line.
void skipWhiteSpace(TextStream& text);

// The next line of a file that is read line by line with keepLeading. An empty first line, at which
// the formatted read alone would stand still for ever, is passed over. False at the end.
bool readNextLine(TextStream& text, std::wstring& line);

// The formatted read of one decimal number ("%ld"): leading white space is skipped, a sign is
// allowed, the value is clamped to 32 bits. `nothing` when something else stands there.
ScanResult scanNumber(TextStream& text, std::int32_t& number);

// Writes the text, line feeds as CR LF, and returns the number of characters, or -1 on failure. A
// character above 0xFF cannot be written to such a file: the characters in front of it are, and
// the result is -1.
int putText(TextStream& text, std::wstring_view characters);

}  // namespace zellauncher
