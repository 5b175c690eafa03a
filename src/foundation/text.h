#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

// Text is a sequence of 16-bit units in a std::wstring; no unit exceeds 0xFFFF, also where wchar_t
// is wider. Files and log lines are bytes.
namespace zellauncher {

// A byte of a text file as a unit of the same number (ISO 8859-1).
wchar_t byteToUnit(char byte);

// A unit as the byte of the same number. False, and `byte` untouched, for a unit above 0xFF.
bool unitToByte(wchar_t unit, char& byte);

// Each byte becomes a unit.
std::wstring widen(std::string_view bytes);

// The bytes of a text for the log: a unit above 0xFF becomes `\u` and four lower-case hexadecimal
// digits, so that a line stays readable whatever name a path has.
void wideToNarrow(std::string& narrow, const std::wstring& wide);

// Replaces the first occurrence of `what` (not empty) in the text; true when there was one.
bool replaceFirst(std::wstring& text, std::wstring_view what, std::wstring_view replacement);

// The unit with A to Z as small letters; all others stay.
wchar_t lowerAscii(wchar_t unit);

// True when the texts differ in the case of A to Z at most.
bool equalIgnoringCase(std::wstring_view left, std::wstring_view right);

// The text up to its first NUL, which is where a text that is held as characters and a terminator ends.
std::wstring upToNul(const std::wstring& text);

// Decimal number at the head of a text as the runtime's wide conversion reads it: leading white
// space, a sign, digits; 0 without digits; clamped to 32 bits.
std::int32_t parseDecimal(const std::wstring& text);

// Number in base 16 as the runtime's wide conversion reads it: leading white space, a sign, an
// optional 0x, digits up to the first other character; 0 without digits. For texts of at most eight
// characters. The result is the low 16 bits.
wchar_t parseHexUnit(std::wstring_view text);

}  // namespace zellauncher
