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

// The name of a decision's subject for people.
std::string subjectName(const std::string& subject);

// A place that was looked at, with what was found there.
std::string consideredText(const Considered& considered);

// `file:line key`, without what is missing.
std::string placeText(const Place& place);

// How long a wait lasted, and at most could.
std::string waitTime(const Wait& wait);
std::string waitLimit(const Wait& wait);

// A source in a few words, such as `zel/zellauncher.properties:12 zel.data` or `argument -data`.
std::string sourceText(const ValueSource& source);

}  // namespace explain
