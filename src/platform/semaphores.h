#pragma once

#include <cstdint>
#include <string>

#include "platform/handles.h"

// Named semaphores, through which a process shows that it is alive.
namespace platform {

inline constexpr std::uint32_t accessReadControl = 0x20000;
inline constexpr std::uint32_t accessSemaphoreModifyState = 0x2;

// Opens an existing semaphore (OpenSemaphoreW, not inheritable). Fails with errorFileNotFound if
// there is none of this name, with errorAccessDenied if it belongs to another user or to an elevated
// process. A semaphore exists as long as any process has a handle to it.
Handle openSemaphore(const std::wstring& name, std::uint32_t access);

}  // namespace platform
