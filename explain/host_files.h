#pragma once

#include <memory>
#include <string>
#include <vector>

#include "simulation/machine.h"

// Real directories for the simulated machine. They are only read. A link is followed if it leads into one of
// the given directories; otherwise, like everything that is neither a file nor a directory, it is not shown.
// host_files_posix.cpp and host_files_windows.cpp implement this.
namespace explain {

// The directories at these paths (UTF-8), in their order; null for one that is no directory or cannot be
// read.
std::vector<std::shared_ptr<const simulation::HostDirectory>> openHostDirectories(
    const std::vector<std::string>& paths);

// The path in full, without links and without a trailing separator; the path itself if it does not exist.
std::string canonicalPath(const std::string& path);

// True if the file, which need not exist, is in the directory or below it, also through links.
bool isRealPathWithin(const std::string& file, const std::string& directory);

// Replaces a file of this computer, or creates it. True if everything is written.
bool writeRealFile(const std::string& path, const std::string& content);

}  // namespace explain
