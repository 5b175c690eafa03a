#include "held_files.h"

#include <gtest/gtest.h>
#include <windows.h>

#include <fstream>

namespace endtoend {

namespace fs = std::filesystem;

namespace {

// True if the operation succeeds within some seconds.
template <typename Operation>
bool succeedsInTime(Operation operation) {
    constexpr int attempts = 200;
    constexpr DWORD pauseMilliseconds = 50;
    for (int i = 0; i < attempts; ++i) {
        if (operation()) {
            return true;
        }
        Sleep(pauseMilliseconds);
    }
    return operation();
}

// A file that is deleted while another program has it open can keep its name until that program closes it.
// Until then the system denies access to it.
bool isGone(const fs::path& path) {
    const bool hasAttributes = GetFileAttributesW(path.c_str()) != INVALID_FILE_ATTRIBUTES;
    const DWORD error = GetLastError();
    return !hasAttributes && error != ERROR_ACCESS_DENIED && error != ERROR_SHARING_VIOLATION;
}

}  // namespace

void removeAll(const fs::path& path) {
    EXPECT_TRUE(succeedsInTime([&] {
        std::error_code ignored;
        fs::remove_all(path, ignored);
        return isGone(path);
    })) << path
        << " cannot be deleted";
}

void replaceContent(const fs::path& path, const std::string& content) {
    EXPECT_TRUE(succeedsInTime([&] {
        std::ofstream file(path, std::ios::binary);
        file << content;
        file.close();
        return !file.fail();
    })) << path
        << " cannot be written";
}

void copyOver(const fs::path& source, const fs::path& target) {
    EXPECT_TRUE(succeedsInTime([&] { return CopyFileW(source.c_str(), target.c_str(), FALSE) != 0; }))
        << source << " cannot be copied to " << target;
}

}  // namespace endtoend
