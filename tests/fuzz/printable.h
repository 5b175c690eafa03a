#pragma once

#include <string>

namespace fuzz {

// A text for a failure message; units other than printable ASCII become `<XXXX>`.
std::string printable(const std::wstring& text);

}  // namespace fuzz
