#pragma once

#include <cstddef>
#include <string>

namespace zellauncher {

// An empty string with room for so many characters. Without the memory: ZLNCH0004E, fatal.
std::wstring newString(std::size_t length);

// Makes room for so many characters or ends the start with this fatal message.
void reserveOrFail(std::wstring& text, std::size_t length, const char* message);

}  // namespace zellauncher
