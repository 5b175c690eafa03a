#pragma once

#include <vector>

#include "explain/explanation.h"
#include "explain/machine_setup.h"
#include "explain/options.h"

namespace explain {

// Explains a start, and with --starts each of them, in their order. Throws CannotExplain.
std::vector<Explanation> explainStarts(const StartOptions& options);

// Runs the launcher on a machine that programs play on, and explains that start. What the platform of an
// earlier start does goes on meanwhile.
Explanation explainNextStart(World& world, const StartOptions& options);

}  // namespace explain
