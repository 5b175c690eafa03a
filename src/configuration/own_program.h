#pragma once

#include <string>

namespace zellauncher {

struct OwnProgram {
    std::wstring path;     // full path within 260 characters; the last candidate if none was found
    bool isFound = false;  // it names an executable file
};

// The program file of this process: the one that argument 0 names, otherwise the running module.
OwnProgram findOwnProgram(const std::wstring& programArgument);

// The path of the same file; fatal ZLNCH0047E if it cannot be found.
std::wstring locateProgram(const std::wstring& programArgument);

}  // namespace zellauncher
