#pragma once

#include <cstddef>
#include <string>
#include <string_view>

// Which files the system can start: those that begin with the header of a program for x64.
namespace simulation {

// Enough of a file to decide it.
inline constexpr std::size_t programHeaderBytes = 4096;

enum class ExecutableFile { program, library, otherProcessor, none };

// What the beginning of a file says.
ExecutableFile executableFileOf(std::string_view beginning);

inline bool isProgramFile(std::string_view beginning) {
    return executableFileOf(beginning) == ExecutableFile::program;
}

// The smallest file of which isProgramFile is true.
std::string smallestProgramFile();

}  // namespace simulation
