#pragma once

#include <nlohmann/json.hpp>

#include "explain/check/finding.h"

namespace explain {

// The array `findings` of both verbs.
nlohmann::ordered_json findingsJson(const Findings& findings);

}  // namespace explain
