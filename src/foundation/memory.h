#pragma once

#include <cstddef>
#include <string>

// Allocations whose failure has a message of its own.
namespace zellauncher {

// An empty string with room for `length` characters. Out of memory is the fatal ZLNCH0004E.
std::wstring newString(std::size_t length);

// Ends the process with ZLNCH0004E.
[[noreturn]] void failOutOfMemory();

// Reserves room for `length` characters. Out of memory ends the process with this fatal message.
void reserveOrFail(std::wstring& text, std::size_t length, const char* message);

}  // namespace zellauncher
