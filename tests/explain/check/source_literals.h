#pragma once

#include <string>
#include <vector>

namespace explaintest {

// A string literal of the launcher's sources, adjacent ones joined, with its escapes resolved.
struct SourceLiteral {
    std::string text;
    std::string file;      // relative to src
    std::string call;      // the function in whose argument list it is, or empty
    bool isFirst = false;  // it begins that list
};

// The literals of one source text, without those of comments and #include lines.
std::vector<SourceLiteral> literalsOf(const std::string& source, const std::string& file);

// Those of all sources below src.
std::vector<SourceLiteral> launcherLiterals();

}  // namespace explaintest
