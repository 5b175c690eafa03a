#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace explain {

// The lines that differ between two texts, each with `-` or `+` and a blank before it, with up to two equal
// lines around them (two blanks) and `...` between distant places.
std::vector<std::string> diffOf(std::string_view before, std::string_view after);

}  // namespace explain
