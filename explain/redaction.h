#pragma once

#include "explain/explanation.h"

namespace explain {

// Replaces the user's name and the values of the environment in everything that the explanation has, also
// where a path or a file's content spells them with slashes or escapes. Values that every Windows has are
// kept. Files that are not UTF-8 lose their content.
void redact(Explanation& explanation);

}  // namespace explain
