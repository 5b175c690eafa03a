#pragma once

#include <optional>
#include <string>

// The environment of this process, which its children inherit. Names are case-insensitive.
namespace platform {

// The value of a variable, of any length; nothing if it is not set. A variable set to the empty text
// is set.
std::optional<std::wstring> environmentValue(const std::wstring& name);

// Sets a variable from a text `NAME=value`; `NAME=` removes it. Fails without a `=`, with an empty
// name, or when the system refuses.
bool putEnvironmentText(const std::wstring& assignment);

}  // namespace platform
