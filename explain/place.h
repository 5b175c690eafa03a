#pragma once

#include <cstddef>
#include <string>

namespace explain {

// A line of a property file. Files of the install are relative to it, with forward slashes.
struct Place {
    std::wstring file;
    std::size_t line = 0;
    std::wstring name;  // the key as written
};

}  // namespace explain
