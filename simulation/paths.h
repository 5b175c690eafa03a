#pragma once

#include <string>

namespace simulation {

// True if a file or directory can have this name: 1 to 255 UTF-16 units, without control characters and the
// characters `<>:"/\|?*` that separate or select names.
bool isValidName(const std::wstring& name);

}  // namespace simulation
