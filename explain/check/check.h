#pragma once

#include <optional>
#include <string>

#include "explain/check/finding.h"
#include "explain/explanation.h"
#include "explain/machine_setup.h"
#include "explain/options.h"

namespace explain {

struct CheckResult {
    Findings findings;  // sorted by file and line
    std::optional<std::size_t> commandLength;
};

// Everything that can be said about the install at options.install; the arguments do not matter. With
// `previous`, the directory of the last release, also whether the identity had to change. Throws
// CannotExplain.
CheckResult checkInstall(const StartOptions& options, const std::optional<std::string>& previous);

// The mistakes that bear on this start, which was made with the options: those in the files that it reads and
// those in its command. Without notes; sorted by file and line. `world` is the machine after the start.
Findings findingsFor(const StartOptions& options, const World& world, const Explanation& start);

}  // namespace explain
