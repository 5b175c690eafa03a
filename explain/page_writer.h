#pragma once

#include <string>
#include <vector>

#include "explain/explanation.h"

namespace explain {

// The starts as one HTML page (UTF-8) that needs nothing else: no network and, to be read, no script.
std::string writePage(const std::vector<Explanation>& starts);

}  // namespace explain
