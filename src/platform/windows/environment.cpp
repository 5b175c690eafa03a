#include "platform/environment.h"

#include "platform/windows/windows_api.h"

namespace platform {

// Reads the system's environment, because the runtime's copy dates from process start and may have
// been converted to the narrow code page.
std::optional<std::wstring> environmentValue(const std::wstring& name) {
    std::wstring value;
    DWORD capacity = 256;
    while (true) {
        value.resize(capacity);
        SetLastError(ERROR_SUCCESS);
        const DWORD length = GetEnvironmentVariableW(name.c_str(), value.data(), capacity);
        if (length == 0 && GetLastError() != ERROR_SUCCESS) {
            return std::nullopt;
        }
        if (length < capacity) {
            value.resize(length);
            return value;
        }
        capacity = length;  // the required size, NUL included
    }
}

bool putEnvironmentText(const std::wstring& assignment) {
    const std::size_t separator = assignment.find(L'=');
    if (separator == std::wstring::npos || separator == 0) {
        SetLastError(ERROR_INVALID_PARAMETER);
        return false;
    }
    const std::wstring name = assignment.substr(0, separator);
    const std::wstring value = assignment.substr(separator + 1);
    if (SetEnvironmentVariableW(name.c_str(), value.empty() ? nullptr : value.c_str()) != 0) {
        return true;
    }
    // Removing a missing variable succeeds.
    return value.empty() && GetLastError() == ERROR_ENVVAR_NOT_FOUND;
}

}  // namespace platform
