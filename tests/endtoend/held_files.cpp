#include "held_files.h"

#include <gtest/gtest.h>
#include <windows.h>

#include <fstream>

namespace endtoend {

namespace fs = std::filesystem;

namespace {

// True if the operation succeeds within some seconds.
template <typename Operation>
bool succeedsInTime(Operation operation) {
    constexpr int attempts = 200;
    constexpr DWORD pauseMilliseconds = 50;
    for (int i = 0; i < attempts; ++i) {
        if (operation()) {
            return true;
        }
        Sleep(pauseMilliseconds);
    }
    return operation();
}

// A file that is deleted while another program has it open can keep its name until that program closes it.
// Until then the system denies access to it.
bool isGone(const fs::path& path) {
    const bool hasAttributes = GetFileAttributesW(path.c_str()) != INVALID_FILE_ATTRIBUTES;
    const DWORD error = GetLastError();
    return !hasAttributes && error != ERROR_ACCESS_DENIED && error != ERROR_SHARING_VIOLATION;
}

// The file on the disk that a handle is open for, however its path is spelled.
struct FileIdentity {
    DWORD volume = 0;
    DWORD high = 0;
    DWORD low = 0;
    bool operator==(const FileIdentity&) const = default;
};

std::optional<FileIdentity> identityOf(HANDLE handle) {
    BY_HANDLE_FILE_INFORMATION information = {};
    if (GetFileType(handle) != FILE_TYPE_DISK || GetFileInformationByHandle(handle, &information) == 0) {
        return std::nullopt;
    }
    return FileIdentity{information.dwVolumeSerialNumber, information.nFileIndexHigh,
                        information.nFileIndexLow};
}

std::optional<FileIdentity> identityOf(const fs::path& path) {
    HANDLE file = CreateFileW(path.c_str(), 0, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                              nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
    if (file == INVALID_HANDLE_VALUE) {
        return std::nullopt;
    }
    const std::optional<FileIdentity> identity = identityOf(file);
    CloseHandle(file);
    return identity;
}

std::uint64_t positionOf(HANDLE file) {
    const LARGE_INTEGER nowhere = {};
    LARGE_INTEGER position = {};
    EXPECT_NE(SetFilePointerEx(file, nowhere, &position, FILE_CURRENT), 0) << GetLastError();
    return static_cast<std::uint64_t>(position.QuadPart);
}

}  // namespace

void removeAll(const fs::path& path) {
    EXPECT_TRUE(succeedsInTime([&] {
        std::error_code ignored;
        fs::remove_all(path, ignored);
        return isGone(path);
    })) << path
        << " cannot be deleted";
}

void replaceContent(const fs::path& path, const std::string& content) {
    EXPECT_TRUE(succeedsInTime([&] {
        std::ofstream file(path, std::ios::binary);
        file << content;
        file.close();
        return !file.fail();
    })) << path
        << " cannot be written";
}

void copyOver(const fs::path& source, const fs::path& target) {
    EXPECT_TRUE(succeedsInTime([&] { return CopyFileW(source.c_str(), target.c_str(), FALSE) != 0; }))
        << source << " cannot be copied to " << target;
}

// Tries the values that a small program's handles have. A duplicate shares the position with its original.
std::optional<std::uint64_t> positionIn(void* process, const fs::path& path) {
    constexpr std::uintptr_t step = 4;
    constexpr std::uintptr_t last = 1000 * step;
    std::optional<std::uint64_t> position;
    const std::optional<FileIdentity> wanted = identityOf(path);
    for (std::uintptr_t value = step; wanted && !position && value <= last; value += step) {
        HANDLE copy = nullptr;
        if (DuplicateHandle(process, reinterpret_cast<HANDLE>(value), GetCurrentProcess(), &copy, 0, FALSE,
                            DUPLICATE_SAME_ACCESS) != 0) {
            position = identityOf(copy) == wanted ? std::optional(positionOf(copy)) : std::nullopt;
            CloseHandle(copy);
        }
    }
    return position;
}

}  // namespace endtoend
