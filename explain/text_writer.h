#pragma once

#include <string>
#include <vector>

#include "explain/explanation.h"

namespace explain {

enum class Diffs { leftOut, shown };

// The starts for people, in UTF-8.
std::string writeText(const std::vector<Explanation>& starts, Diffs diffs);

// One sentence about how the start ends.
std::string outcomeSentence(const Explanation& explanation);

// A source in a few words, such as `zel/zellauncher.properties:12 zel.data` or `argument -data`.
std::string sourceText(const ValueSource& source);

}  // namespace explain
