#pragma once

#include <optional>
#include <string>

#include "explain/check/finding.h"
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

// The findings that bear on the start that the options describe, without simulated ones.
Findings findingsFor(const StartOptions& options);

}  // namespace explain
