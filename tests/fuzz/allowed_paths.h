#pragma once

#include <string>
#include <vector>

#include "simulation/machine.h"

// Which files a start may access.
namespace fuzz {

// The full path as the system resolves it, in upper case, without the `\\?\` prefix. The current
// directory is C:\.
std::wstring systemPath(const std::wstring& path);

class AllowedPaths {
public:
    // The directory and everything below it. `C:\a` does not include `C:\ab`.
    void allowTree(const std::wstring& directory);
    void allowFile(const std::wstring& file);
    // Also true for the directories above an allowed tree, which are queried and created on the way to it.
    bool mayLookAt(const std::wstring& path) const;
    bool mayTouch(const std::wstring& path) const;

private:
    std::vector<std::wstring> trees;
    std::vector<std::wstring> files;
};

enum class FileAccess {
    none,   // the operation takes no path of the file system
    look,   // queries a path, or creates a directory
    touch,  // reads, writes, moves or removes
};

FileAccess fileAccessOf(const simulation::Operation& operation);

}  // namespace fuzz
