#pragma once

#include <cstdint>
#include <map>
#include <string>

// Counts that a change must not make grow unnoticed. They are in a file of lines `<name> <count>`.
namespace guard {

// A start's operations, or the size of a program, by name.
using Counts = std::map<std::string, std::uint64_t>;

// Fails the test for each count above the one in the file, and for each that is in only one of both. If the
// variable ZELLAUNCHER_RECORD_COUNTS is set, writes them to the file instead.
void expectNoGrowth(const std::string& file, const Counts& counts);

}  // namespace guard
