#pragma once

#include <string>

namespace explain {

// docs/reference.md, made from the catalogue. UTF-8.
std::string writeReference();

}  // namespace explain
