#pragma once

#include <string>
#include <vector>

// How a formatted read of the C runtime splits a text file into lines. A second implementation, which
// works on the whole file at once, to compare the launcher's reading with.
namespace fuzz {

// White space before the first line. If it is kept, a file that begins with a line feed still loses it.
enum class LeadingSpace { skipped, kept };

// The lines of a file in text mode (CR LF is LF, a Ctrl-Z ends the file): at most 2024 characters each,
// without the white space after them, cut at a NUL.
std::vector<std::wstring> referenceLines(const std::string& bytes, LeadingSpace leadingSpace);

// Without blanks at both ends; a text of only blanks is returned unchanged.
std::wstring trimBlanks(const std::wstring& text);

}  // namespace fuzz
