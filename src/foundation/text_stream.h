#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "foundation/sourced_text.h"
#include "platform/streams.h"

// Text files as the launcher reads and writes them: one byte per character, CR LF on disk for a line
// feed. Text mode and formatted reading follow the runtime library's wide functions exactly, but are
// the launcher's own code, because runtimes differ here.
namespace zellauncher {

// A text file. `stream` is null if it is not open; all operations fail harmlessly then. Close it with
// closeTextStream. The reading state is valid until the next rewind.
struct TextStream {
    platform::Stream* stream = nullptr;
    std::string readAhead;         // bytes, read from the file block by block
    std::size_t readPosition = 0;  // index of the next byte in readAhead
    std::string gathered;          // a line of which readAhead has had only parts
    bool hasEndMark = false;       // a Ctrl-Z follows the bytes in readAhead
    bool endOfFile = false;        // a read reached the end of the file or a Ctrl-Z
    bool hasFailed = false;        // a read failed, which also ends the file
    [[no_unique_address]] FilePosition position;
};

// Longest line that one formatted read takes.
inline constexpr std::size_t lineCharacters = 2024;

enum class LineBlanks { keepLeading, skipLeading };
enum class ScanResult { matched, nothing, endOfData };

// Opens a file in the runtime's mode "r", "r+", "w", "w+" or "a+". In the modes "r+" and "a+", a Ctrl-Z
// that is the last byte of the file is removed, as by the runtime; the open fails if that fails. If the
// last byte cannot be read, "a+" fails, and "r+" leaves it.
TextStream openFile(const std::wstring& path, const char* mode);
bool closeTextStream(TextStream& text);

// Back to the first character; clears the end-of-file state.
void rewindTextStream(TextStream& text);
bool flushTextStream(TextStream& text);

// True once a read has reached the end.
bool atEnd(const TextStream& text);

// The formatted read of one line: "%2024[^\n]\n" (keepLeading) or " %2024[^\n]\n" (skipLeading). Reads
// up to 2024 characters before the next line feed, then all white space that follows (blank, tab, line
// feed, vertical tab, form feed, carriage return). `line` is cleared first and ends at its first NUL.
//   matched    a line was read
//   nothing    the next character is a line feed (keepLeading only); nothing was consumed
//   endOfData  the file ended before any character
ScanResult scanLine(TextStream& text, LineBlanks blanks, std::wstring& line);

// The same with the characters as bytes, which a large file is read by. `line` is valid until the next call
// for this stream.
ScanResult scanLine(TextStream& text, LineBlanks blanks, std::string_view& line);

// Skips white space, for example an empty first line.
void skipWhiteSpace(TextStream& text);

// Skips NUL characters.
void skipNuls(TextStream& text);

// The next line, read with keepLeading. Skips an empty first line, which the formatted read would never
// get past. False at the end.
bool readNextLine(TextStream& text, std::wstring& line);

// The formatted read of one decimal number ("%ld"): skips leading white space, accepts a sign, clamps to
// 32 bits. `nothing` if there is something else.
ScanResult scanNumber(TextStream& text, std::int32_t& number);

// Writes the text with CR LF for each line feed. Returns the number of characters, or -1 on failure. A
// character above 0xFF cannot be written: the characters before it are, and the result is -1.
int putText(TextStream& text, std::wstring_view characters);

}  // namespace zellauncher
