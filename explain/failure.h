#pragma once

#include <optional>
#include <string>

#include "explain/explanation.h"
#include "explain/launcher_run.h"
#include "explain/sources.h"

namespace explain {

// What a message (UTF-8) that ended a start means, its likely causes in this install, and what to do.
Failure explainFailure(const std::string& message, World& world, const LauncherRun& run,
                       const Reasons& reasons);

}  // namespace explain
