#pragma once

#include <string_view>

namespace explain {

// True if one text was probably meant to be the other: they differ only by the case of letters, or, if they
// are long enough, by one or two letters.
bool areSimilar(std::wstring_view left, std::wstring_view right);

}  // namespace explain
