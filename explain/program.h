#pragma once

#include <string>
#include <vector>

namespace explain {

// The whole program, with its arguments in UTF-8 and without the program's name. Returns the exit status.
int runProgram(const std::vector<std::string>& arguments);

}  // namespace explain
