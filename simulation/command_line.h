#pragma once

#include <string>
#include <vector>

namespace simulation {

// Splits a command line by the system's rules.
std::vector<std::wstring> splitCommandLine(const std::wstring& commandLine);

}  // namespace simulation
