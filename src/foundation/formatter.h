#pragma once

#include <cstdint>
#include <initializer_list>
#include <string>
#include <string_view>
#include <variant>

// The launcher's own message formatter. A format may come from data (a property value that is
// written with itself as the format), so no conversion ever reads an argument that was not given.
namespace zellauncher {

// An argument of a conversion: a text, a signed number or an unsigned number.
using FormatArgument = std::variant<std::wstring, std::int64_t, std::uint64_t>;

// Replaces the conversions of `format` by the arguments, one after the other, and returns the whole
// text; it has no limit of its own. Known conversions: %s %ls %hs %S %ws (text); %d %i %ld %hd, %u
// %lu %hu (decimal); %x %lx %X (hexadecimal), each with an optional 0 flag, width and precision;
// and %% for one per cent sign. A conversion for which there is no argument, an argument of the
// other type, or a letter that is none of these gives nothing; the argument, if any, is used up.
// Width and precision count up to 4096 and no further.
std::wstring formatText(std::wstring_view format, std::initializer_list<FormatArgument> arguments);

}  // namespace zellauncher
