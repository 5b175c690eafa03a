#include <filesystem>
#include <fstream>

#include "explain/host_files.h"

namespace explain {

namespace {

namespace fs = std::filesystem;

fs::path pathOf(const std::string& utf8) {
    return fs::path(std::u8string(utf8.begin(), utf8.end()));
}

}  // namespace

bool isRealPathWithin(const std::string& file, const std::string& directory) {
    std::error_code error;
    const fs::path whole = fs::weakly_canonical(fs::absolute(pathOf(file)), error);
    const fs::path root = fs::weakly_canonical(fs::absolute(pathOf(directory)), error);
    for (fs::path place = whole; place.has_relative_path(); place = place.parent_path()) {
        if (fs::equivalent(place, root, error)) {
            return true;
        }
    }
    return false;
}

bool writeRealFile(const std::string& path, const std::string& content) {
    std::ofstream file(pathOf(path), std::ios::binary);
    file.write(content.data(), static_cast<std::streamsize>(content.size()));
    file.close();
    return !file.fail();
}

}  // namespace explain
