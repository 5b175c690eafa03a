#pragma once

#include <string>
#include <string_view>

namespace explain {

// UTF-8 text as the content of an HTML element or of a quoted attribute. Characters that HTML does not allow
// become U+FFFD.
std::string escaped(std::string_view text);
std::string escaped(std::wstring_view text);

// `<name attributes>content</name>`; the attributes and the content are already HTML.
std::string element(const std::string& name, const std::string& attributes, const std::string& content);

// The text in at most `most` characters, with an ellipsis in its middle if it is longer.
std::string shortened(const std::string& text, std::size_t most);

}  // namespace explain
