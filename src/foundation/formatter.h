#pragma once

#include <cstdint>
#include <initializer_list>
#include <string>
#include <string_view>
#include <variant>

// The launcher's own message formatter. A format may be data (a property value used as its own format),
// so a conversion never reads an argument that was not given.
namespace zellauncher {

// A text, a signed or an unsigned number.
using FormatArgument = std::variant<std::wstring, std::int64_t, std::uint64_t>;

// Replaces the conversions of `format` by the arguments in order. Conversions: %s %ls %hs %S %ws
// (text), %d %i %ld %hd and %u %lu %hu (decimal), %x %lx %X (hexadecimal), each with an optional 0
// flag, width and precision up to 4096; %% is a percent sign. A conversion without an argument, with an
// argument of the wrong type, or with another letter, flag or size (%-5d, %I64d) gives nothing as a whole,
// but uses up its argument. A width or precision `*` uses up one more.
std::wstring formatText(std::wstring_view format, std::initializer_list<FormatArgument> arguments);

}  // namespace zellauncher
