#include "program_files.h"

#include <windows.h>
// Needs the header above.
#include <tlhelp32.h>

#include <algorithm>

namespace endtoend {

namespace fs = std::filesystem;

namespace {

constexpr DWORD longestPath = 32768;

fs::path withoutLongForm(const std::wstring& path) {
    const std::wstring ofShare = L"\\\\?\\UNC\\";
    const std::wstring ofDrive = L"\\\\?\\";
    if (path.starts_with(ofShare)) {
        return L"\\\\" + path.substr(ofShare.size());
    }
    return path.starts_with(ofDrive) ? path.substr(ofDrive.size()) : path;
}

// A process of another user cannot be opened. One that has ended may still be listed.
std::optional<ForeignPlatform> asForeign(DWORD processId, const fs::path& directory) {
    HANDLE process = OpenProcess(PROCESS_QUERY_LIMITED_INFORMATION | SYNCHRONIZE, FALSE, processId);
    if (process == nullptr) {
        return GetLastError() == ERROR_INVALID_PARAMETER ? std::nullopt
                                                         : std::optional(ForeignPlatform{processId, {}});
    }
    const bool isRunning = WaitForSingleObject(process, 0) == WAIT_TIMEOUT;
    const fs::path program = programOf(process);
    CloseHandle(process);
    if (!isRunning || (!program.empty() && isWithin(program, directory))) {
        return std::nullopt;
    }
    return ForeignPlatform{processId, program};
}

}  // namespace

fs::path finalPath(const fs::path& path) {
    HANDLE file = CreateFileW(path.c_str(), 0, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                              nullptr, OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS, nullptr);
    if (file == INVALID_HANDLE_VALUE) {
        return path;
    }
    std::wstring text(longestPath, L'\0');
    const DWORD length = GetFinalPathNameByHandleW(file, text.data(), longestPath, FILE_NAME_NORMALIZED);
    CloseHandle(file);
    text.resize(length);
    return length == 0 || length >= longestPath ? path : withoutLongForm(text);
}

bool isWithin(const fs::path& path, const fs::path& place) {
    const std::wstring inner = finalPath(path).wstring();
    const std::wstring outer = finalPath(place).wstring();
    const bool hasPrefix = inner.size() >= outer.size() &&
                           CompareStringOrdinal(inner.c_str(), static_cast<int>(outer.size()), outer.c_str(),
                                                static_cast<int>(outer.size()), TRUE) == CSTR_EQUAL;
    return hasPrefix && (inner.size() == outer.size() || inner[outer.size()] == L'\\');
}

fs::path programOf(void* process) {
    std::wstring text(longestPath, L'\0');
    DWORD length = longestPath;
    if (QueryFullProcessImageNameW(process, 0, text.data(), &length) == 0) {
        return {};
    }
    text.resize(length);
    return finalPath(text);
}

void* openProcessOf(std::uint32_t processId, std::uint32_t rights, const std::vector<fs::path>& places) {
    HANDLE process = OpenProcess(rights | PROCESS_QUERY_LIMITED_INFORMATION, FALSE, processId);
    if (process == nullptr) {
        return nullptr;
    }
    const fs::path program = programOf(process);
    const bool isOwn = std::any_of(places.begin(), places.end(), [&](const fs::path& place) {
        return !program.empty() && isWithin(program, place);
    });
    if (!isOwn) {
        CloseHandle(process);
        return nullptr;
    }
    return process;
}

std::optional<ForeignPlatform> findForeignPlatform(const fs::path& directory) {
    std::optional<ForeignPlatform> found;
    HANDLE snapshot = CreateToolhelp32Snapshot(TH32CS_SNAPPROCESS, 0);
    PROCESSENTRY32W entry = {};
    entry.dwSize = sizeof(entry);
    for (BOOL isEntry = Process32FirstW(snapshot, &entry); isEntry != 0 && !found;
         isEntry = Process32NextW(snapshot, &entry)) {
        if (CompareStringOrdinal(entry.szExeFile, -1, L"eclipse.exe", -1, TRUE) == CSTR_EQUAL) {
            found = asForeign(entry.th32ProcessID, directory);
        }
    }
    CloseHandle(snapshot);
    return found;
}

}  // namespace endtoend
