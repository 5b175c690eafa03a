#pragma once

#include <cstddef>
#include <string>
#include <string_view>

// Which files the system can start: those that begin with the header of a program for x64.
namespace simulation {

// Enough of a file to decide it.
inline constexpr std::size_t programHeaderBytes = 4096;

// True for the beginning of a program; false for a library, for a program of another processor and for
// anything else.
bool isProgramFile(std::string_view beginning);

// The smallest file of which isProgramFile is true.
std::string smallestProgramFile();

}  // namespace simulation
