#pragma once

#include <string>
#include <string_view>

// Text as bytes, which takes half the memory of 16-bit units or less: the encoding of UTF-8, applied to each
// unit alone. Equal texts have equal bytes.
namespace zellauncher {

void appendPacked(std::string& bytes, std::wstring_view text);

std::wstring unpacked(std::string_view bytes);

}  // namespace zellauncher
