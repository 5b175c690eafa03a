#pragma once

#include <string>
#include <vector>

namespace explain {

// Runs `zelexplain log` with its arguments. Returns the exit status: 0, or 3 if a path does not exist or the
// command line is wrong.
int runLog(const std::vector<std::string>& arguments);

}  // namespace explain
