#include "foundation/directory_removal.h"

#include <optional>
#include <utility>
#include <vector>

#include "foundation/explanation.h"
#include "foundation/log_channel.h"
#include "foundation/paths.h"
#include "foundation/waiting.h"
#include "platform/errors.h"
#include "platform/files.h"

namespace zellauncher {

namespace {

constexpr int attempts = 5;

// One directory of a walk. The levels are in a vector instead of on the stack, so that a tree of any
// depth can be walked.
struct Level {
    std::wstring directory;
    platform::FindHandle handle = platform::FindHandle::none;
    std::optional<platform::FindEntry> entry;  // the current one
};

void appendError(std::wstring& errors, const std::wstring& what) {
    const std::wstring reason = formatLastError();
    errors.append(what).append(L"  - ").append(reason).append(L"\n");
}

std::wstring joinPath(const std::wstring& directory, const std::wstring& name) {
    const bool hasSeparator = directory.ends_with(L'\\') || directory.ends_with(L'/');
    return directory + (hasSeparator ? L"" : L"\\") + name;
}

bool openLevel(Level& level, const std::wstring& pattern, std::wstring& errors) {
    const std::wstring searchPath = joinPath(level.directory, pattern);
    platform::FirstMatch match = platform::findFirst(searchPath);
    if (match.handle == platform::FindHandle::none) {
        appendError(errors, L"Error in " + searchPath);
        return false;
    }
    level.handle = match.handle;
    level.entry = std::move(match.entry);
    return true;
}

// Goes to the next entry of the level. False if reading the directory failed, not at its end.
bool advanceLevel(Level& level, std::wstring& errors) {
    level.entry = platform::findNext(level.handle);
    if (level.entry) {
        return true;
    }
    const bool isEnd = platform::lastError() == platform::errorNoMoreFiles;
    if (!isEnd) {
        appendError(errors, L"FindNextFile error ");
    }
    platform::findClose(level.handle);
    return isEnd;
}

}  // namespace

bool walkDirectory(const std::wstring& directory, const std::wstring& pattern, std::wstring& errors,
                   Subdirectories subdirectories) {
    bool isWhole = true;
    std::vector<Level> levels(1);
    levels.back().directory = directory;
    if (!openLevel(levels.back(), pattern, errors)) {
        return false;
    }
    while (true) {
        Level& level = levels.back();
        if (!level.entry) {
            const std::wstring finished = level.directory;
            levels.pop_back();
            if (levels.empty()) {
                return isWhole;
            }
            if (subdirectories == Subdirectories::remove && !platform::removeDirectory(finished)) {
                appendError(errors, L"Can't delete dir " + finished);
                isWhole = false;
            }
            isWhole = advanceLevel(levels.back(), errors) && isWhole;
            continue;
        }
        const std::wstring path = joinPath(level.directory, level.entry->name);
        const bool isDirectory = (level.entry->attributes & platform::attributeDirectory) != 0;
        const bool isOwn = level.entry->name == L"." || level.entry->name == L"..";
        if (!isOwn && isDirectory && pattern == L"*") {
            Level child;
            child.directory = path;
            if (!openLevel(child, pattern, errors)) {
                isWhole = false;
            }
            levels.push_back(child);
            continue;
        }
        if (!isOwn && !isDirectory && !platform::deleteFile(path)) {
            appendError(errors, L"Can't delete file " + path);
            isWhole = false;
        }
        isWhole = advanceLevel(level, errors) && isWhole;
    }
}

bool removeDirectoryContents(const std::wstring& directory, std::wstring& errors) {
    const std::wstring longPath = toLongPath(directory);
    if (!walkDirectory(longPath, L"*", errors, Subdirectories::keep)) {
        return false;
    }
    explainWait("a directory that cannot be emptied", attempts * 1000);
    for (int attempt = 0; attempt < attempts; ++attempt) {
        errors.clear();
        if (walkDirectory(longPath, L"*", errors, Subdirectories::remove)) {
            return true;
        }
        logDebugLastError(L"removeDirectoryContents");
        sleepSeconds(1);
    }
    return false;
}

bool removeDirectory(const std::wstring& directory, std::wstring& errors) {
    const std::wstring longPath = toLongPath(directory);
    if (!removeDirectoryContents(longPath, errors)) {
        return false;
    }
    for (int attempt = 0; attempt < attempts; ++attempt) {
        errors.clear();
        if (platform::removeDirectory(longPath)) {
            return true;
        }
        appendError(errors, L"Can't delete dir " + directory);
    }
    return false;
}

bool removeMatchingFiles(const std::wstring& directory, const std::wstring& text, std::wstring& errors) {
    const std::wstring longPath = toLongPath(directory);
    return walkDirectory(longPath, L"*" + text + L"*", errors, Subdirectories::keep);
}

}  // namespace zellauncher
