#pragma once

// The one way in which the system's headers come in, with what they need and without what they spoil.
#ifndef NOMINMAX
#define NOMINMAX
#endif
#ifndef WIN32_LEAN_AND_MEAN
#define WIN32_LEAN_AND_MEAN
#endif
#include <windows.h>

#include "platform/handles.h"

namespace platform {

inline HANDLE systemHandle(Handle handle) {
    // The seam passes handles as numbers, since the headers above it do not know the system's types.
    return reinterpret_cast<HANDLE>(static_cast<std::uintptr_t>(handle));
}

inline Handle seamHandle(HANDLE handle) {
    return handle == INVALID_HANDLE_VALUE ? Handle::none
                                          : static_cast<Handle>(reinterpret_cast<std::uintptr_t>(handle));
}

}  // namespace platform
