#pragma once

#include "platform/windows/windows_api.h"

// Where libraries come from: from the system's own directory, and never from beside the program or
// from the current directory, where anybody may have put one of the same name.
namespace platform {

// Loads a library of the system by its file name, and what it needs in turn; null on failure, with the
// reason in GetLastError(). From the first call on, whatever the process loads is looked for in the
// system's directory alone.
HMODULE loadSystemLibrary(const wchar_t* name);

}  // namespace platform
