#pragma once

#include <cstdint>
#include <string>

#include "platform/handles.h"

// The client's side of a named pipe. The client end is opened with createFile.
namespace platform {

inline constexpr std::uint32_t waitForever = 0xFFFFFFFF;

// Waits until an instance of the named pipe is free for a client (WaitNamedPipeW). Fails if there is
// no such pipe, or after `milliseconds`.
bool waitNamedPipe(const std::wstring& name, std::uint32_t milliseconds);

// Writes the bytes to an open pipe in one call (WriteFile). Waits without a limit while they do not fit into
// the pipe's buffer and the server reads nothing. The byte count is not reported.
bool writePipe(Handle pipe, const std::string& bytes);

}  // namespace platform
