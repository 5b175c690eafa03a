#include "platform/session.h"

#include <cstring>

#include "platform/windows/windows_api.h"

namespace platform {

static_assert(sizeof(LUID) == sizeof(Privilege));
static_assert(endSessionForce == EWX_FORCE && endSessionShutdown == EWX_SHUTDOWN &&
              endSessionLogoff == EWX_LOGOFF);

void endSession(std::uint32_t how, std::uint32_t reason) {
    ExitWindowsEx(how, reason);
}

Handle openOwnToken() {
    HANDLE token = nullptr;
    if (OpenProcessToken(GetCurrentProcess(), TOKEN_ADJUST_PRIVILEGES | TOKEN_QUERY, &token) == 0) {
        return Handle::none;
    }
    return interfaceHandle(token);
}

Privilege findPrivilege(const std::wstring& name) {
    LUID id = {};
    if (LookupPrivilegeValueW(nullptr, name.c_str(), &id) == 0) {
        return Privilege::none;
    }
    Privilege privilege = Privilege::none;
    std::memcpy(&privilege, &id, sizeof(id));
    return privilege;
}

bool adjustPrivilege(Handle token, Privilege privilege, PrivilegeState state) {
    TOKEN_PRIVILEGES privileges = {};
    privileges.PrivilegeCount = 1;
    std::memcpy(&privileges.Privileges[0].Luid, &privilege, sizeof(privilege));
    privileges.Privileges[0].Attributes = state == PrivilegeState::enabled ? SE_PRIVILEGE_ENABLED : 0;
    // If the token lacks the privilege, the call succeeds with the last error ERROR_NOT_ALL_ASSIGNED.
    return AdjustTokenPrivileges(systemHandle(token), FALSE, &privileges, 0, nullptr, nullptr) != 0 &&
           GetLastError() == ERROR_SUCCESS;
}

void sendToDebugger(const std::wstring& text) {
    OutputDebugStringW(text.c_str());
}

}  // namespace platform
