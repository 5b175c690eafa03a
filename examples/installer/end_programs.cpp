#include <windows.h>
// tlhelp32.h needs the header above.
#include <tlhelp32.h>

#include <cwchar>
#include <string>
#include <vector>

// end_programs [--are-none] DIRECTORY: ends every process whose program is in the directory or below it, in
// all sessions, and waits for that. With --are-none it ends none; the status is 1 if there is one, or if a
// program or library of the directory is in use by another process.
//
// The installer of the example runs it. It is a program of Windows' subsystem, so nobody sees a window.
namespace {

constexpr DWORD endMilliseconds = 10000;
constexpr DWORD pathCapacity = 32768;
// Before a path that may have more than 260 characters.
constexpr wchar_t longPaths[] = L"\\\\?\\";

// Without this privilege, an administrator may not ask for the programs of other users' processes. It is
// there but switched off. An account without it goes on without it.
void enableDebugPrivilege() {
    HANDLE token = nullptr;
    if (OpenProcessToken(GetCurrentProcess(), TOKEN_ADJUST_PRIVILEGES, &token) == 0) {
        return;
    }
    TOKEN_PRIVILEGES privileges = {};
    privileges.PrivilegeCount = 1;
    privileges.Privileges[0].Attributes = SE_PRIVILEGE_ENABLED;
    if (LookupPrivilegeValueW(nullptr, SE_DEBUG_NAME, &privileges.Privileges[0].Luid) != 0) {
        AdjustTokenPrivileges(token, FALSE, &privileges, 0, nullptr, nullptr);
    }
    CloseHandle(token);
}

// The path itself if it has no long form.
std::wstring longForm(const std::wstring& path) {
    std::wstring result(pathCapacity, L'\0');
    const DWORD length = GetLongPathNameW(path.c_str(), result.data(), pathCapacity);
    return length == 0 ? path : result.substr(0, length);
}

// With a backslash at the end.
std::wstring fullPath(const std::wstring& path) {
    std::wstring full(pathCapacity, L'\0');
    full.resize(GetFullPathNameW(path.c_str(), pathCapacity, full.data(), nullptr));
    full = longForm(full);
    return full.ends_with(L'\\') ? full : full + L'\\';
}

bool isBelow(const std::wstring& path, const std::wstring& directory) {
    return path.size() > directory.size() &&
           CompareStringOrdinal(path.c_str(), static_cast<int>(directory.size()), directory.c_str(),
                                static_cast<int>(directory.size()), TRUE) == CSTR_EQUAL;
}

// In its long form, because a process may have been started by the short one.
std::wstring programOf(HANDLE process) {
    std::wstring path(pathCapacity, L'\0');
    DWORD length = pathCapacity;
    return QueryFullProcessImageNameW(process, 0, path.data(), &length) != 0
               ? longForm(path.substr(0, length))
               : std::wstring();
}

std::vector<DWORD> processesBelow(const std::wstring& directory) {
    std::vector<DWORD> found;
    HANDLE snapshot = CreateToolhelp32Snapshot(TH32CS_SNAPPROCESS, 0);
    PROCESSENTRY32W entry = {};
    entry.dwSize = sizeof(entry);
    for (BOOL isEntry = Process32FirstW(snapshot, &entry); isEntry != 0;
         isEntry = Process32NextW(snapshot, &entry)) {
        HANDLE process = OpenProcess(PROCESS_QUERY_LIMITED_INFORMATION, FALSE, entry.th32ProcessID);
        if (process != nullptr && isBelow(programOf(process), directory)) {
            found.push_back(entry.th32ProcessID);
        }
        if (process != nullptr) {
            CloseHandle(process);
        }
    }
    CloseHandle(snapshot);
    return found;
}

// Windows lets nobody write to a program or library that a process has loaded.
bool isInUse(const std::wstring& path) {
    HANDLE file =
        CreateFileW(path.c_str(), GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                    nullptr, OPEN_EXISTING, 0, nullptr);
    if (file == INVALID_HANDLE_VALUE) {
        return GetLastError() == ERROR_SHARING_VIOLATION;
    }
    CloseHandle(file);
    return false;
}

bool isProgramOrLibrary(const std::wstring& name) {
    constexpr size_t length = 4;
    const std::wstring extension = name.size() > length ? name.substr(name.size() - length) : std::wstring();
    return _wcsicmp(extension.c_str(), L".exe") == 0 || _wcsicmp(extension.c_str(), L".dll") == 0;
}

// Finds what processesBelow cannot see: a process that may not be asked for its program, and a program from
// elsewhere that has loaded a library of the directory.
bool isAnyFileInUse(const std::wstring& directory) {
    WIN32_FIND_DATAW entry = {};
    HANDLE search = FindFirstFileW((directory + L"*").c_str(), &entry);
    if (search == INVALID_HANDLE_VALUE) {
        return false;
    }
    bool found = false;
    do {
        const std::wstring name = entry.cFileName;
        const bool isDirectory = (entry.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
        const bool isLink = (entry.dwFileAttributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0;
        if (isDirectory && !isLink && name != L"." && name != L"..") {
            found = isAnyFileInUse(directory + name + L'\\');
        } else if (!isDirectory && isProgramOrLibrary(name)) {
            found = isInUse(directory + name);
        }
    } while (!found && FindNextFileW(search, &entry) != 0);
    FindClose(search);
    return found;
}

void end(DWORD processId) {
    HANDLE process = OpenProcess(PROCESS_TERMINATE | SYNCHRONIZE, FALSE, processId);
    if (process == nullptr) {
        return;
    }
    TerminateProcess(process, 1);
    WaitForSingleObject(process, endMilliseconds);
    CloseHandle(process);
}

// Ends them in rounds: a launcher that supervises a platform may start it again between two looks.
bool endAll(const std::wstring& directory) {
    constexpr int rounds = 5;
    for (int i = 0; i < rounds; ++i) {
        const std::vector<DWORD> found = processesBelow(directory);
        if (found.empty()) {
            return true;
        }
        for (const DWORD processId : found) {
            end(processId);
        }
    }
    return processesBelow(directory).empty();
}

}  // namespace

extern "C" int wmain(int count, wchar_t** arguments) {
    const bool isQuestion = count == 3 && std::wstring(arguments[1]) == L"--are-none";
    if (count != 2 && !isQuestion) {
        return 2;
    }
    enableDebugPrivilege();
    const std::wstring directory = fullPath(arguments[count - 1]);
    if (isQuestion) {
        return processesBelow(directory).empty() && !isAnyFileInUse(longPaths + directory) ? 0 : 1;
    }
    return endAll(directory) ? 0 : 1;
}
