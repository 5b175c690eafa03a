#pragma once

#include <string>
#include <vector>

// A command line as a list of arguments. Argument 0 is the program and never an option. Options are
// compared whole and case-sensitively.
namespace zellauncher {

using Arguments = std::vector<std::wstring>;

// Index of the first argument after the program that equals the text, or -1.
int findArgumentIndex(const std::wstring& text, const Arguments& arguments);

// True if findArgumentIndex finds it.
bool hasArgument(const std::wstring& text, const Arguments& arguments);

// The argument after the first occurrence of the option; null if the option is missing or last. Points
// into `arguments`.
const std::wstring* argumentAfter(const std::wstring& option, const Arguments& arguments);

// Erases the second argument that equals the text, counted from argument 0. A third one stays.
void removeSecondOccurrence(Arguments& arguments, const std::wstring& text);

}  // namespace zellauncher
