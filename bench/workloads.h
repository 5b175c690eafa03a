#pragma once

#include <cstddef>
#include <string>

namespace bench {

// A property file of about this size, as a packager writes one: keys of some 30 characters, values of some
// 45, every tenth line a comment, some escaped paths, lines that end with CR LF.
std::string propertyFile(std::size_t bytes);

}  // namespace bench
