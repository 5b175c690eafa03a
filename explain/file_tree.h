#pragma once

#include <string>

#include "explain/explanation.h"

namespace explain {

// What the start makes, changes, moves and removes, as nested HTML lists with the contents folded.
std::string writeFileTree(const Explanation& explanation);

}  // namespace explain
