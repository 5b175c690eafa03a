#pragma once

#include <vector>

#include "explain/explanation.h"
#include "explain/options.h"

namespace explain {

// Explains a start, and with --starts each of them, in their order. Throws CannotExplain.
std::vector<Explanation> explainStarts(const StartOptions& options);

}  // namespace explain
