#pragma once

#include <cstdint>

namespace platform {

// A kernel object that this process has open: a process, thread, file, pipe, semaphore, snapshot or
// token. `none` is a failed open, whatever value the system uses for it.
enum class Handle : std::uintptr_t { none = 0 };

// Closes the handle (CloseHandle); `none` is ignored. The system closes all remaining handles when
// the process ends.
void closeHandle(Handle handle);

}  // namespace platform
