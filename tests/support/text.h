#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

// Reading logs and payloads, for all test programs, native and Windows.
namespace launchertest {

// Each CR LF as LF.
std::string withLineFeeds(std::string_view bytes);

// The lines without their LF or CR LF; a last line without a line end counts too.
std::vector<std::string> splitLines(std::string_view text);

// How often the text contains the part, which must not be empty, without overlaps.
std::size_t countOccurrences(std::string_view text, std::string_view part);

// Number of lines that begin so.
std::size_t countLinesBeginningWith(std::string_view text, std::string_view beginning);

// UTF-8 to and from text in 16-bit units. Unpaired surrogates and bytes that are not UTF-8 become
// U+FFFD.
std::string toUtf8(std::wstring_view text);
std::wstring fromUtf8(std::string_view bytes);

// What a launcher writes to a pipe, UTF-16 little-endian, as 16-bit units; the NUL at its end is kept.
std::wstring pipeText(std::string_view payload);

}  // namespace launchertest
