#pragma once

#include <optional>
#include <string>

// The environment of this process, which a child started without a block of its own inherits.
// Names are compared as the system does, without regard to case.
namespace platform {

// The value of a variable, of any length; nothing when it is not set. A variable that is set to
// the empty text counts as set.
std::optional<std::wstring> environmentValue(const std::wstring& name);

// Takes a text `NAME=value` and sets the variable; `NAME=` removes it, as the runtime library's
// environment update does. Returns 0 on success and -1 when there is no `=`, the name is empty, or
// the system refuses.
int putEnvironmentText(const std::wstring& assignment);

}  // namespace platform
