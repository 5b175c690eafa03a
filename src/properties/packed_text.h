#pragma once

#include <cstddef>
#include <string>
#include <string_view>

// Text as bytes, which takes half the memory of 16-bit units or less: the encoding of UTF-8, applied to each
// unit alone. Equal texts have equal bytes. A text that is not packed may also be bytes, each of which is one
// unit.
namespace zellauncher {

// The number of bytes of the packed text.
std::size_t packedSize(std::wstring_view text);
std::size_t packedSize(std::string_view text);

// `size` is the packed size of the text.
void appendPacked(std::string& bytes, std::wstring_view text, std::size_t size);
void appendPacked(std::string& bytes, std::string_view text, std::size_t size);

std::wstring unpacked(std::string_view bytes);

}  // namespace zellauncher
