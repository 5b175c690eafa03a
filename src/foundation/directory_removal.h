#pragma once

#include <string>

// Removal of directory trees. What goes wrong is collected line by line in `errors`, a text of the
// caller that describes the last attempt only; nothing here is fatal but a relative path.
namespace zellauncher {

// Walks the entries of `directory` that fit `pattern` and deletes the files among them. With the
// pattern "*" it descends into subdirectories, and removes them too when asked to. True when nothing failed.
bool walkDirectory(const std::wstring& directory, const std::wstring& pattern, std::wstring& errors,
                   bool removeDirectories);

// Empties a directory, which itself stays. Files are tried once; directories up to five times with
// a second's pause. True when it is empty afterwards.
bool removeDirectoryContents(const std::wstring& directory, std::wstring& errors);

// Removes a directory with all that lies in it. True when it is gone.
bool removeDirectory(const std::wstring& directory, std::wstring& errors);

// Deletes the files of this one directory whose names hold `text`. True when nothing failed.
bool removeMatchingFiles(const std::wstring& directory, const std::wstring& text, std::wstring& errors);

}  // namespace zellauncher
