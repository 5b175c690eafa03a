#pragma once

#include <cstdint>
#include <string>

#include "platform/handles.h"

// Ending the user's session or the machine, the privilege for it, and output for a debugger.
namespace platform {

inline constexpr std::uint32_t endSessionLogoff = 0x0;
inline constexpr std::uint32_t endSessionShutdown = 0x1;
inline constexpr std::uint32_t endSessionForce = 0x4;  // ends programs that do not respond

// Requests the end of the session (ExitWindowsEx) and returns before it happens.
void endSession(std::uint32_t how, std::uint32_t reason);

// This process's token, for changing its privileges (OpenProcessToken with TOKEN_ADJUST_PRIVILEGES
// and TOKEN_QUERY).
Handle openOwnToken();

enum class Privilege : std::uint64_t { none = 0 };
enum class PrivilegeState { disabled, enabled };

// The system's identifier of a privilege, e.g. of "SeShutdownPrivilege" (LookupPrivilegeValueW).
Privilege findPrivilege(const std::wstring& name);

// Enables or disables a privilege of the token (AdjustTokenPrivileges). False also if the token does
// not have the privilege.
bool adjustPrivilege(Handle token, Privilege privilege, PrivilegeState state);

// Sends a text to an attached debugger (OutputDebugStringW).
void sendToDebugger(const std::wstring& text);

}  // namespace platform
