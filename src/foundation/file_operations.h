#pragma once

#include <string>

// What changes the disk. All but copyFileNoReplace and bringToDevice work on the long form of the path, so
// a relative path is fatal (toLongPath). The result is false on failure, with the reason in lastError().
namespace zellauncher {

// Makes every missing level of the path. Only the last level decides: false when it exists already
// or cannot be made, so callers ask directoryExists first. Without the memory: ZLNCH0004E, fatal.
bool createDirectories(const std::wstring& path);

// Copies a file; an existing target makes it fail and stays as it is. Paths go in unchanged.
bool copyFileNoReplace(const std::wstring& source, const std::wstring& target);

// Brings what was written to a file to the device, for the files that no later start would make anew: a
// machine that loses its power afterwards finds them whole. A failure changes nothing, and nobody is told:
// the file is there, and at risk only as long as the system takes to write it by itself.
void bringToDevice(const std::wstring& path);

// Renames a file or directory; an existing target makes it fail.
bool moveFile(const std::wstring& source, const std::wstring& target);

// Removes a file by moving it to `<path>.deleteme` and deleting that name. A file that cannot be
// moved stays intact (false). A `.deleteme` left over from an earlier run blocks the move and is
// itself deleted: true, and the named file is still there.
bool deleteFile(const std::wstring& path);

}  // namespace zellauncher
