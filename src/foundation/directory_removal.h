#pragma once

#include <string>

// Removal of directory trees. Each failure is a line in `errors`, which describes the last attempt
// only. Only a relative path is fatal (toLongPath).
namespace zellauncher {

enum class Subdirectories { keep, remove };

// Deletes the files of `directory` that match `pattern`. With the pattern "*" it also descends into
// subdirectories and removes them if asked to. True if nothing failed. The path is used as it is.
bool walkDirectory(const std::wstring& directory, const std::wstring& pattern, std::wstring& errors,
                   Subdirectories subdirectories);

// Empties a directory. Files are tried once, subdirectories up to five times, a second apart. True if
// the directory is empty afterwards.
bool removeDirectoryContents(const std::wstring& directory, std::wstring& errors);

// Removes a directory and everything in it. True if it is gone.
bool removeDirectory(const std::wstring& directory, std::wstring& errors);

// Deletes the files directly in the directory whose names contain `text`. True if nothing failed.
bool removeMatchingFiles(const std::wstring& directory, const std::wstring& text, std::wstring& errors);

}  // namespace zellauncher
