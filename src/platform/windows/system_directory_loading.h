#pragma once

#include "platform/windows/windows_api.h"

// Loads libraries only from the system directory, never from beside the program or from the current
// directory, where someone may have planted one of the same name.
namespace platform {

// Loads a system library by its file name, with the libraries that it needs; null on failure, with the
// reason in GetLastError(). After the first call the process loads all libraries only from the system
// directory.
HMODULE loadSystemLibrary(const wchar_t* name);

}  // namespace platform
