#include "program_files.h"

#include <windows.h>

#include <algorithm>

namespace endtoend {

namespace fs = std::filesystem;

namespace {

constexpr DWORD longestPath = 32768;

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
    return length == 0 || length >= longestPath ? path : fs::path(text);
}

bool isWithin(const fs::path& path, const fs::path& directory) {
    const std::wstring inner = finalPath(path).wstring();
    const std::wstring outer = finalPath(directory).wstring();
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

void* openProcessOf(std::uint32_t processId, std::uint32_t rights, const std::vector<fs::path>& directories) {
    HANDLE process = OpenProcess(rights | PROCESS_QUERY_LIMITED_INFORMATION, FALSE, processId);
    if (process == nullptr) {
        return nullptr;
    }
    const fs::path program = programOf(process);
    const bool isOwn = std::any_of(directories.begin(), directories.end(), [&](const fs::path& directory) {
        return !program.empty() && isWithin(program, directory);
    });
    if (!isOwn) {
        CloseHandle(process);
        return nullptr;
    }
    return process;
}

}  // namespace endtoend
