#include "platform/environment.h"

#include "platform/windows/windows_api.h"

namespace platform {

// Asked of the system and not of the runtime, whose copy of the environment is of the start of the
// process and of the narrow code page where it is older.
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
        capacity = length;  // what it needs, its terminator included
    }
}

int putEnvironmentText(const std::wstring& assignment) {
    const std::size_t separator = assignment.find(L'=');
    if (separator == std::wstring::npos || separator == 0) {
        SetLastError(ERROR_INVALID_PARAMETER);
        return -1;
    }
    const std::wstring name = assignment.substr(0, separator);
    const std::wstring value = assignment.substr(separator + 1);
    if (SetEnvironmentVariableW(name.c_str(), value.empty() ? nullptr : value.c_str()) != 0) {
        return 0;
    }
    // To remove what is not there is no failure.
    return value.empty() && GetLastError() == ERROR_ENVVAR_NOT_FOUND ? 0 : -1;
}

}  // namespace platform
