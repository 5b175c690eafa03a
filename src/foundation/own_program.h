#pragma once

#include <string>

namespace zellauncher {

// Finds the program file of this process: what word 0 of a command line names, made full within 260
// characters, else the path of the running module. False when neither is an executable file. `path`
// is the file, or what was tried last.
bool findOwnProgram(std::wstring& path, const std::wstring& wordZero);

}  // namespace zellauncher
