#pragma once

#include <cstdint>
#include <string>

#include "platform/handles.h"

// Ending the user's session or the machine, the right to do so, and words for a debugger.
namespace platform {

inline constexpr std::uint32_t endSessionLogoff = 0x0;
inline constexpr std::uint32_t endSessionShutdown = 0x1;
inline constexpr std::uint32_t endSessionForce = 0x4;  // programs that do not answer are ended

// Ends the session (ExitWindowsEx). Returns before that has happened; whether it will is not told.
void endSession(std::uint32_t how, std::uint32_t reason);

// This process's own token, to ask for privileges and to change them (OpenProcessToken with
// TOKEN_ADJUST_PRIVILEGES and TOKEN_QUERY); `none` on failure.
Handle openOwnToken();

enum class Privilege : std::uint64_t { none = 0 };

// The system's number for a privilege by its name, e.g. "SeShutdownPrivilege"; `none` on failure.
Privilege findPrivilege(const std::wstring& name);

// Enables a privilege of the token or takes it back (AdjustTokenPrivileges). lastError() is
// errorSuccess afterwards only when the token has the privilege and its state is now as told.
void adjustPrivilege(Handle token, Privilege privilege, bool isEnabled);

// A text for whoever debugs this process (OutputDebugStringW); without a debugger it is lost.
void sendToDebugger(const std::wstring& text);

}  // namespace platform
