#include "platform/files.h"

#include "platform/windows/windows_api.h"

namespace platform {

namespace {

FindEntry asEntry(const WIN32_FIND_DATAW& data) {
    return {data.cFileName, data.dwFileAttributes};
}

HANDLE searchHandle(FindHandle handle) {
    return reinterpret_cast<HANDLE>(static_cast<std::uintptr_t>(handle));
}

}  // namespace

std::optional<std::uint32_t> fileAttributes(const std::wstring& path) {
    const DWORD attributes = GetFileAttributesW(path.c_str());
    if (attributes == INVALID_FILE_ATTRIBUTES) {
        return std::nullopt;
    }
    return attributes;
}

bool setFileAttributes(const std::wstring& path, std::uint32_t attributes) {
    return SetFileAttributesW(path.c_str(), attributes) != 0;
}

bool createDirectory(const std::wstring& path) {
    return CreateDirectoryW(path.c_str(), nullptr) != 0;
}

bool copyFile(const std::wstring& source, const std::wstring& target, ExistingTarget existingTarget) {
    const BOOL failsIfExists = existingTarget == ExistingTarget::isFailure ? TRUE : FALSE;
    return CopyFileW(source.c_str(), target.c_str(), failsIfExists) != 0;
}

bool flushFile(const std::wstring& path) {
    HANDLE file =
        CreateFileW(path.c_str(), GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                    nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
    if (file == INVALID_HANDLE_VALUE) {
        return false;
    }
    const bool isFlushed = FlushFileBuffers(file) != 0;
    const DWORD error = GetLastError();
    CloseHandle(file);
    SetLastError(error);
    return isFlushed;
}

bool moveFile(const std::wstring& source, const std::wstring& target, std::uint32_t flags) {
    return MoveFileExW(source.c_str(), target.c_str(), flags) != 0;
}

bool deleteFile(const std::wstring& path) {
    return DeleteFileW(path.c_str()) != 0;
}

bool removeDirectory(const std::wstring& path) {
    return RemoveDirectoryW(path.c_str()) != 0;
}

FirstMatch findFirst(const std::wstring& searchPath) {
    WIN32_FIND_DATAW data;
    HANDLE handle = FindFirstFileW(searchPath.c_str(), &data);
    if (handle == INVALID_HANDLE_VALUE) {
        return {};
    }
    return {static_cast<FindHandle>(reinterpret_cast<std::uintptr_t>(handle)), asEntry(data)};
}

std::optional<FindEntry> findNext(FindHandle handle) {
    WIN32_FIND_DATAW data;
    if (FindNextFileW(searchHandle(handle), &data) == 0) {
        return std::nullopt;
    }
    return asEntry(data);
}

void findClose(FindHandle handle) {
    if (handle != FindHandle::none) {
        FindClose(searchHandle(handle));
    }
}

std::optional<std::wstring> fullPathName(const std::wstring& path, std::size_t capacity) {
    std::wstring full(capacity, L'\0');
    const DWORD length = GetFullPathNameW(path.c_str(), static_cast<DWORD>(capacity), full.data(), nullptr);
    if (length == 0 || length >= capacity) {
        return std::nullopt;
    }
    full.resize(length);
    return full;
}

std::optional<std::wstring> moduleFileName(std::size_t capacity) {
    std::wstring path(capacity, L'\0');
    const DWORD length = GetModuleFileNameW(nullptr, path.data(), static_cast<DWORD>(capacity));
    if (length == 0 || length >= capacity) {
        return std::nullopt;
    }
    path.resize(length);
    return path;
}

Handle createFile(const std::wstring& path, std::uint32_t access, std::uint32_t sharing,
                  std::uint32_t disposition, std::uint32_t attributes) {
    return interfaceHandle(
        CreateFileW(path.c_str(), access, sharing, nullptr, disposition, attributes, nullptr));
}

}  // namespace platform
