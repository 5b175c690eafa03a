#pragma once

#include <string>
#include <vector>

#include "simulation/machine.h"

// Which files a start may touch.
namespace fuzz {

// A path as the system understands it, in full and in capitals, without a prefix for long paths. The
// current directory is C:\.
std::wstring systemPath(const std::wstring& path);

// The places of a start: whole directories, and single files.
class Places {
public:
    // The directory and all below it. `C:\a` does not take `C:\ab` in.
    void allowTree(const std::wstring& directory);
    void allowFile(const std::wstring& file);
    // The directories above are looked at and made on the way to them.
    bool mayLookAt(const std::wstring& path) const;
    bool mayTouch(const std::wstring& path) const;

private:
    std::vector<std::wstring> trees;
    std::vector<std::wstring> files;
};

// True for the operations that take a path of the file system; `isLook` for those that only ask
// whether something is there.
bool isFileOperation(const simulation::Operation& operation, bool& isLook);

}  // namespace fuzz
