#pragma once

#include <string>
#include <variant>
#include <vector>

#include "explain/options.h"

namespace explain {

// The tool's own exit statuses.
inline constexpr int explained = 0;
inline constexpr int notExplained = 3;

// What the command line asks for; or, if the tool has nothing to explain, what it prints and its status.
struct Answer {
    std::string text;
    int status = explained;
};
std::variant<StartOptions, Answer> readCommandLine(const std::vector<std::string>& arguments);

}  // namespace explain
