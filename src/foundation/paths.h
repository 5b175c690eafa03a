#pragma once

#include <string>

// Paths as text. Separators may be `\` or `/`, mixed.
namespace zellauncher {

void toBackslashes(std::wstring& path);
void toForwardSlashes(std::wstring& path);

// Turns an absolute drive path, with or without the prefix, into its normalised `\\?\` form, which
// the file system takes at any length. Double separators vanish; `.` and `..` are resolved, by a
// rule of its own that can lose a component behind `..`; a trailing separator stays. A relative or
// UNC path is the fatal ZLNCH0140E. Not for an empty path, which is fatal as well.
void toLongPath(std::wstring& path);

// The full path of a workspace named on the command line. An absolute path passes unchanged. One
// that begins with an untranslated `${` is the fatal ZLNCH0301E; one that cannot be made full
// within 260 characters the fatal ZLNCH0302E. An empty path is the current directory.
void resolveWorkspacePath(const std::wstring& path, std::wstring& fullPath);

}  // namespace zellauncher
