#pragma once

#include <cstdint>
#include <string>

#include "platform/handles.h"

// Objects that processes share by name.
namespace platform {

inline constexpr std::uint32_t accessReadControl = 0x20000;
inline constexpr std::uint32_t accessSemaphoreModifyState = 0x2;

// Opens an existing semaphore (OpenSemaphoreW, not inheritable). `none` on failure:
// errorFileNotFound when there is none of that name, errorAccessDenied when it is another's.
// The semaphore lives as long as anybody holds a handle of it.
Handle openSemaphore(const std::wstring& name, std::uint32_t access);

inline constexpr std::uint32_t waitForever = 0xFFFFFFFF;

// Waits until an instance of the named pipe is free for a client (WaitNamedPipeW). False when there is
// no such pipe, or after so many milliseconds. The client end is opened with createFile.
bool waitNamedPipe(const std::wstring& name, std::uint32_t milliseconds);

// Writes the bytes to an open pipe in one call (WriteFile). How many were taken is not told.
bool writePipe(Handle pipe, const std::string& bytes);

}  // namespace platform
