#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

#include "platform/handles.h"

// Files and directories by their names. A path may use `\` and `/` side by side unless it begins
// with `\\?\`: such a path goes to the file system as it stands and has no limit of 260 characters.
// Every operation that fails leaves its reason in lastError().
namespace platform {

inline constexpr std::uint32_t attributeReadOnly = 0x1;
inline constexpr std::uint32_t attributeHidden = 0x2;
inline constexpr std::uint32_t attributeDirectory = 0x10;
inline constexpr std::uint32_t attributeNormal = 0x80;
inline constexpr std::uint32_t attributeNotContentIndexed = 0x2000;

inline constexpr std::uint32_t moveWriteThrough = 0x8;

inline constexpr std::uint32_t accessRead = 0x80000000;
inline constexpr std::uint32_t accessWrite = 0x40000000;
inline constexpr std::uint32_t shareRead = 0x1;
inline constexpr std::uint32_t shareWrite = 0x2;
inline constexpr std::uint32_t openExistingFile = 3;
inline constexpr std::uint32_t openFileAlways = 4;

// Attributes of what the path names (GetFileAttributesW); nothing when there is no such thing or it
// cannot be looked at. A trailing separator behind a directory's name is accepted.
std::optional<std::uint32_t> fileAttributes(const std::wstring& path);

// Makes one directory level (CreateDirectoryW). False when it exists or its parent does not.
bool createDirectory(const std::wstring& path);

// Copies a file with its attributes (CopyFileW). With failIfExists an existing target is a failure
// and stays untouched.
bool copyFile(const std::wstring& source, const std::wstring& target, bool failIfExists);

// Brings to the device what has been written to a file so far, by whomever (FlushFileBuffers on a handle
// for writing that shares everything). Until then a loss of power can leave the name with an older content,
// or none. What a stream still buffers is not in the file yet.
bool flushFile(const std::wstring& path);

// Renames a file or a directory (MoveFileExW). Without the replace flag an existing target is a
// failure. `flags` is moveWriteThrough or 0.
bool moveFile(const std::wstring& source, const std::wstring& target, std::uint32_t flags);

// Removes a file (DeleteFileW). A read-only file, a directory, and a file that somebody holds open
// without the right to delete are failures.
bool deleteFile(const std::wstring& path);

// Removes an empty directory (RemoveDirectoryW).
bool removeDirectory(const std::wstring& path);

struct FindEntry {
    std::wstring name;             // the name alone, without its directory
    std::uint32_t attributes = 0;  // as in fileAttributes
};

enum class FindHandle : std::uintptr_t { none = 0 };

// Begins a walk over the entries of a directory whose names fit the pattern in the last component
// of the path (FindFirstFileW), `.` and `..` included. `none` on failure.
FindHandle findFirst(const std::wstring& searchPath, FindEntry& entry);

// The next entry; false at the end (lastError() is errorNoMoreFiles) and on failure.
bool findNext(FindHandle handle, FindEntry& entry);

// Ends a walk.
void findClose(FindHandle handle);

// The full, normalised form of a path against the current directory (GetFullPathNameW), with the
// terminating NUL within `capacity` characters; nothing on failure or when it does not fit. An
// empty path is a failure. The path need not exist.
std::optional<std::wstring> fullPathName(const std::wstring& path, std::size_t capacity);

// Path of the program file of this process (GetModuleFileNameW), within `capacity` characters.
std::optional<std::wstring> moduleFileName(std::size_t capacity);

// Opens or makes a file (CreateFileW, no security attributes, no template). `attributes` are given
// to a file that is made here. `none` on failure.
Handle createFile(const std::wstring& path, std::uint32_t access, std::uint32_t sharing,
                  std::uint32_t disposition, std::uint32_t attributes);

}  // namespace platform
