#pragma once

#include <string>
#include <vector>

namespace fuzz {

// The arguments that a Windows program gets from its command line, by the published rules of the system
// and its C runtime. The first argument ends at its closing quote or at white space and has no escapes. In
// the others, white space outside of quotes separates; 2n backslashes before a quote are n backslashes and
// the quote is syntax, 2n + 1 are n backslashes and the quote is a character; all other backslashes are
// themselves. Two quotes in a row within quotes are one quote character, and the quoted part continues;
// runtimes differ in this rule alone, so no check may depend on it.
std::vector<std::wstring> windowsArguments(const std::wstring& commandLine);

}  // namespace fuzz
