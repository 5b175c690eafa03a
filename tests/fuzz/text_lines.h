#pragma once

#include <string>
#include <vector>

// How a formatted read of the runtime library takes a text file apart, written down a second time and
// from the whole file at once, so that the launcher's reading can be held against it.
namespace fuzz {

inline constexpr std::size_t longestLine = 2024;

// The characters of a file in text mode: CR LF is LF, a Ctrl-Z ends it.
std::wstring charactersOf(const std::string& bytes);

// Its lines as the formatted reads give them: at most 2024 characters, all white space behind a line
// gone, cut at a NUL. With `skipsLeading` the white space in front of the first line goes too;
// otherwise that line keeps it, unless the file begins with a line feed.
std::vector<std::wstring> readLines(const std::string& bytes, bool skipsLeading);

// A blank-free copy at both ends, by the rule that leaves a text of blanks alone as it is.
std::wstring trimmed(const std::wstring& text);

// A text as bytes for a message; units that are no printable ASCII as `<XXXX>`.
std::string printable(const std::wstring& text);

}  // namespace fuzz
