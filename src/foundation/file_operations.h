#pragma once

#include <string>

// Operations that change the disk. All except copyFileNoReplace and bringToDevice use the long form of
// the path, so a relative path is fatal (toLongPath). They return false on failure, with the reason in
// lastError().
namespace zellauncher {

// Creates every missing level of the path. Only the last level counts: false if it exists already or
// cannot be created, so callers test directoryExists first. Out of memory is the fatal ZLNCH0004E.
bool createDirectories(const std::wstring& path);

// Copies a file. Fails if the target exists. The paths are used as they are. The copy of a read-only file
// is writable; if that attribute cannot be removed, the copy stays read-only.
bool copyFileNoReplace(const std::wstring& source, const std::wstring& target);

// Flushes a file to the device, so that a power loss right afterwards cannot empty it. Used for files
// that no later start would create again. A failure is ignored: the system writes the file a little
// later anyway.
void bringToDevice(const std::wstring& path);

// Renames a file or directory. Fails if the target exists.
bool moveFile(const std::wstring& source, const std::wstring& target);

// Deletes a file by moving it to `<path>.deleteme` and deleting that. A file that cannot be moved stays
// (false). A leftover `.deleteme` blocks the move and is deleted instead: true, although the file is
// still there.
bool deleteFile(const std::wstring& path);

}  // namespace zellauncher
