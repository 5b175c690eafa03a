#pragma once

#include <string>
#include <string_view>

// Texts of the simulated machine are 16-bit units; what people and other programs get is UTF-8.
namespace explain {

// An unpaired surrogate becomes U+FFFD.
std::string toUtf8(std::wstring_view units);
// A byte that is not part of valid UTF-8 becomes U+FFFD.
std::wstring fromUtf8(std::string_view bytes);
bool isUtf8(std::string_view bytes);
// True if the bytes are UTF-16, so that nothing else can be said about them.
bool isUtf16(std::string_view bytes);

// The byte-order mark of a text in UTF-8.
inline constexpr std::string_view utf8Mark = "\xEF\xBB\xBF";

// The log is 8-bit text, one byte per character.
std::string logLineToUtf8(std::string_view bytes);

std::string toBase64(std::string_view bytes);

}  // namespace explain
