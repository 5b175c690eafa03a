#pragma once

#include <string_view>

namespace explain {

enum class ExecutableFile { program, library, otherProcessor, none };

// What the beginning of a file says, by the system's format for programs and libraries.
ExecutableFile executableFileOf(std::string_view beginning);

}  // namespace explain
