#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

// Text is a sequence of 16-bit units in a std::wstring, also where wchar_t is wider. Files and log
// lines are bytes.
namespace zellauncher {

// A byte of a text file as the unit of the same value (ISO 8859-1).
wchar_t byteToUnit(char byte);

// The reverse. False for a unit above 0xFF, which leaves `byte` unchanged.
bool unitToByte(wchar_t unit, char& byte);

// byteToUnit on each byte.
std::wstring widen(std::string_view bytes);

// The bytes of a text for the log. A unit above 0xFF becomes `\u` and four lower-case hexadecimal
// digits, so that every path is readable in the log.
std::string wideToNarrow(const std::wstring& wide);

// Replaces the first occurrence of `what`, which must not be empty. True if there was one.
bool replaceFirst(std::wstring& text, std::wstring_view what, std::wstring_view replacement);

// A to Z as lower case; all other units unchanged.
wchar_t lowerAscii(wchar_t unit);

// True if the texts are equal apart from the case of A to Z.
bool equalIgnoringCase(std::wstring_view left, std::wstring_view right);

// The text before its first NUL, where a NUL-terminated text ends.
std::wstring upToNul(const std::wstring& text);

// The decimal number at the start of a text, as the runtime's conversion reads it: leading white space,
// a sign, digits. 0 without digits; clamped to 32 bits.
std::int32_t parseDecimal(const std::wstring& text);

// The hexadecimal number at the start of a text of at most eight characters, as the runtime's
// conversion reads it: leading white space, a sign, an optional 0x, digits. 0 without digits. The
// result is the low 16 bits.
wchar_t parseHexUnit(std::wstring_view text);

}  // namespace zellauncher
