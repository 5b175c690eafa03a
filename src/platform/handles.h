#pragma once

#include <cstdint>

namespace platform {

// A kernel object that this process holds open: a process, a thread, a file, a semaphore, a
// snapshot. `none` is what a failed operation returns, whichever value the system uses for it.
enum class Handle : std::uintptr_t { none = 0 };

// Gives the object back (CloseHandle). `none` is left alone. What is never closed is closed by the
// system at the end of the process.
void closeHandle(Handle handle);

}  // namespace platform
