#pragma once

#include <string>
#include <vector>

namespace fuzz {

// The words that a program sees in its command line, by the published rules of the system and of its C
// runtime: the first ends at its closing quote or at white space and knows no escape; in the others white
// space outside of quotes separates, 2n backslashes in front of a quote are n of them and the quote is
// syntax, 2n + 1 are n of them and the quote is a character, and all other backslashes are themselves.
// Within quotes two quotes in a row are one of them, and the quotes go on: the one rule in which
// runtimes differ; no property may lean on it.
std::vector<std::wstring> wordsOfCommandLine(const std::wstring& commandLine);

}  // namespace fuzz
