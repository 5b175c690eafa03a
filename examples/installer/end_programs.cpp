#include <windows.h>
// tlhelp32.h needs the header above.
#include <tlhelp32.h>

#include <string>
#include <vector>

// end_programs [--are-none] DIRECTORY: ends every process whose program is in the directory or below it, in
// all sessions, and waits for that. With --are-none it ends none; the status is 1 if there is one.
//
// The installer of the example runs it. It is a program of Windows' subsystem, so nobody sees a window.
namespace {

constexpr DWORD endMilliseconds = 10000;
constexpr DWORD pathCapacity = 32768;

// With a backslash at the end. The long form of the path, because a process may have been started by the
// short one.
std::wstring fullPath(const std::wstring& path) {
    std::wstring full(pathCapacity, L'\0');
    full.resize(GetFullPathNameW(path.c_str(), pathCapacity, full.data(), nullptr));
    std::wstring longPath(pathCapacity, L'\0');
    const DWORD length = GetLongPathNameW(full.c_str(), longPath.data(), pathCapacity);
    longPath.resize(length);
    if (length == 0) {
        longPath = full;
    }
    return longPath.ends_with(L'\\') ? longPath : longPath + L'\\';
}

bool isBelow(const std::wstring& path, const std::wstring& directory) {
    return path.size() > directory.size() &&
           CompareStringOrdinal(path.c_str(), static_cast<int>(directory.size()), directory.c_str(),
                                static_cast<int>(directory.size()), TRUE) == CSTR_EQUAL;
}

std::wstring programOf(HANDLE process) {
    std::wstring path(pathCapacity, L'\0');
    DWORD length = pathCapacity;
    return QueryFullProcessImageNameW(process, 0, path.data(), &length) != 0 ? path.substr(0, length)
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
    const std::wstring directory = fullPath(arguments[count - 1]);
    return (isQuestion ? processesBelow(directory).empty() : endAll(directory)) ? 0 : 1;
}
