#pragma once

#include <string>
#include <vector>

// Words of a command line. Word 0 is the program and never an option; options are compared whole
// and case-sensitively.
namespace zellauncher {

using Arguments = std::vector<std::wstring>;

// Index of the first word from 1 on that equals the text, or -1.
int findArgumentIndex(const std::wstring& text, const Arguments& arguments);

// True when findArgumentIndex finds it.
bool hasArgument(const std::wstring& text, const Arguments& arguments);

// Erases the second word, counted from word 0, that equals the text; a third stays.
void removeSecondOccurrence(Arguments& arguments, const std::wstring& text);

}  // namespace zellauncher
