#pragma once

#include <string>
#include <vector>

#include "foundation/sourced_text.h"

// A command line as a list of arguments. Argument 0 is the program and never an option. Options are
// compared whole and case-sensitively.
namespace zellauncher {

#ifdef ZELLAUNCHER_SIMULATION
// Like a list of plain texts, except that each argument knows its source. A plain list is a command line.
class Arguments : public std::vector<SourcedText> {
public:
    using std::vector<SourcedText>::vector;
    Arguments(const std::vector<std::wstring>& commandLine);
    operator std::vector<std::wstring>() const { return {begin(), end()}; }
};
#else
using Arguments = std::vector<std::wstring>;
#endif

// Index of the first argument after the program that equals the text, or -1.
int findArgumentIndex(const std::wstring& text, const Arguments& arguments);

// True if findArgumentIndex finds it.
bool hasArgument(const std::wstring& text, const Arguments& arguments);

// The argument after the first occurrence of the option; null if the option is missing or last. Points
// into `arguments`.
const SourcedText* argumentAfter(const std::wstring& option, const Arguments& arguments);
const SourcedText* argumentAfter(const std::wstring& option, Arguments&& arguments) = delete;

// Erases the second argument that equals the text, counted from argument 0. A third one stays.
void removeSecondOccurrence(Arguments& arguments, const std::wstring& text);

}  // namespace zellauncher
