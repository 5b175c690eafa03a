#pragma once

#include <string>
#include <vector>

namespace explain {

// Runs `zelexplain check` with its arguments. Returns the exit status: 0 if there is nothing above a note, 1
// with warnings, 2 with errors, 3 if the check could not be done.
int runCheck(const std::vector<std::string>& arguments);

}  // namespace explain
