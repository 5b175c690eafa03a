#pragma once

#include <string>
#include <vector>

#include "explain/explanation.h"

namespace explain {

// The last start as one JSON object (docs/explain.schema.json) with a line feed at its end. Of several
// starts, the object has all of them in `starts`.
std::string writeJson(const std::vector<Explanation>& starts);

}  // namespace explain
