#pragma once

// The only place that includes windows.h, so that its macros are tamed once.
#ifndef NOMINMAX
#define NOMINMAX
#endif
#ifndef WIN32_LEAN_AND_MEAN
#define WIN32_LEAN_AND_MEAN
#endif
#include <windows.h>

#include "platform/handles.h"

namespace platform {

// The system interface passes handles as numbers, because its headers do not know Windows types.
inline HANDLE systemHandle(Handle handle) {
    return reinterpret_cast<HANDLE>(static_cast<std::uintptr_t>(handle));
}

inline Handle interfaceHandle(HANDLE handle) {
    return handle == INVALID_HANDLE_VALUE ? Handle::none
                                          : static_cast<Handle>(reinterpret_cast<std::uintptr_t>(handle));
}

}  // namespace platform
