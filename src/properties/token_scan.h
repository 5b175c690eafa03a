#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

#include "properties/expansions.h"
#include "properties/property_list.h"

// The scan that replaces the property tokens of one text, from right to left. A replacement is scanned again.
namespace zellauncher {

struct Token {
    std::size_t start = 0;  // index of its `$`
    std::size_t length = 0;
    std::wstring name;  // the text between its braces
};

// The last token that begins at or before `position`.
std::optional<Token> findLastToken(const std::wstring& text, std::ptrdiff_t position);

struct Resolution {
    std::wstring replacement;  // the token itself if it is not resolved
    bool isResolved = false;
    std::size_t property = SIZE_MAX;  // its position in the list, if it is the value of a property
};

// The replacement of a property token.
Resolution resolveToken(const std::wstring& name, const PropertyList& list);

// Replaces the property tokens of a text, also those that replacements bring in. False if a token cannot be
// resolved (it stays, and tokens to its left are still replaced), if the text expands to itself, or if it
// grows by more characters than `known` allows (it is then cut to 4,000,000). `known` has the expansions of
// the list's values; it is read and added to.
bool replaceTokens(std::wstring& text, const PropertyList& list, Expansions& known);

}  // namespace zellauncher
