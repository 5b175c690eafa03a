#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

#include "platform/handles.h"

// Files and directories by name. A path may mix `\` and `/`, unless it begins with `\\?\`: such a
// path goes to the file system unchanged and has no limit of 260 characters.
namespace platform {

inline constexpr std::uint32_t attributeReadOnly = 0x1;
inline constexpr std::uint32_t attributeHidden = 0x2;
inline constexpr std::uint32_t attributeDirectory = 0x10;
inline constexpr std::uint32_t attributeNormal = 0x80;
inline constexpr std::uint32_t attributeNotContentIndexed = 0x2000;

inline constexpr std::uint32_t moveReplaceExisting = 0x1;
inline constexpr std::uint32_t moveWriteThrough = 0x8;

inline constexpr std::uint32_t accessRead = 0x80000000;
inline constexpr std::uint32_t accessWrite = 0x40000000;
inline constexpr std::uint32_t shareRead = 0x1;
inline constexpr std::uint32_t shareWrite = 0x2;
inline constexpr std::uint32_t shareDelete = 0x4;
inline constexpr std::uint32_t openExistingFile = 3;
inline constexpr std::uint32_t openFileAlways = 4;

// Attributes of a file or directory (GetFileAttributesW). A directory's name may end in a separator.
std::optional<std::uint32_t> fileAttributes(const std::wstring& path);

// Replaces the attributes of a file or directory (SetFileAttributesW).
bool setFileAttributes(const std::wstring& path, std::uint32_t attributes);

// Creates one directory level (CreateDirectoryW). Fails if it exists or its parent does not.
bool createDirectory(const std::wstring& path);

enum class ExistingTarget { isFailure, isReplaced };

// Copies a file with its attributes (CopyFileW).
bool copyFile(const std::wstring& source, const std::wstring& target, ExistingTarget existingTarget);

// Flushes everything written to the file, by any process, to the device (FlushFileBuffers on a handle
// that shares everything). Without it a power loss can leave old content or none. Data that is still
// in a stream's buffer is not part of the file yet.
bool flushFile(const std::wstring& path);

// Renames a file or directory (MoveFileExW with these two flags or none). An existing target is a failure,
// unless both are files and moveReplaceExisting is given; with it, a directory may or may not replace a file.
// With moveWriteThrough the names are on the device when the call returns; without it, or without flushFile,
// a power loss can bring the old ones back.
bool moveFile(const std::wstring& source, const std::wstring& target, std::uint32_t flags);

// Deletes a file (DeleteFileW). Fails for a read-only file, for a directory, and for a file that is
// open without shared deletion. A file that is open with shared deletion may keep its name until its last
// handle is closed. Until then every operation on it fails with errorAccessDenied, no other file can take
// its name, and its directory cannot be removed.
bool deleteFile(const std::wstring& path);

// Removes an empty directory (RemoveDirectoryW).
bool removeDirectory(const std::wstring& path);

struct FindEntry {
    std::wstring name;             // without its directory
    std::uint32_t attributes = 0;  // as in fileAttributes
};

enum class FindHandle : std::uintptr_t { none = 0 };

struct FirstMatch {
    FindHandle handle = FindHandle::none;
    FindEntry entry;
};

// Begins a search for the entries of a directory, `.` and `..` included, that match the pattern in
// the last component of the path (FindFirstFileW). The handle is `none` on failure.
FirstMatch findFirst(const std::wstring& searchPath);

// The next entry; nothing at the end (lastError() is errorNoMoreFiles) and on failure.
std::optional<FindEntry> findNext(FindHandle handle);

// Ends a search.
void findClose(FindHandle handle);

// The normalised full form of a path, relative to the current directory (GetFullPathNameW with a
// buffer of `capacity` characters, NUL included). The path need not exist; it must not be empty.
std::optional<std::wstring> fullPathName(const std::wstring& path, std::size_t capacity);

// Path of this process's program file (GetModuleFileNameW with a buffer of `capacity` characters).
std::optional<std::wstring> moduleFileName(std::size_t capacity);

// Opens or creates a file, or opens the client end of a pipe (CreateFileW without security attributes
// or template). A file that is created gets the attributes.
Handle createFile(const std::wstring& path, std::uint32_t access, std::uint32_t sharing,
                  std::uint32_t disposition, std::uint32_t attributes);

}  // namespace platform
