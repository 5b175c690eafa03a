#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <climits>
#include <cstdlib>
#include <map>
#include <utility>

#include "explain/encoding.h"
#include "explain/host_files.h"
#include "platform/files.h"

// A file or directory is opened first and then asked where it really is, so that a link that changes
// meanwhile leads nowhere.
namespace explain {

namespace {

using Roots = std::shared_ptr<const std::vector<std::string>>;

constexpr int mostLinks = 8;  // that lead to each other

class Descriptor {
public:
    explicit Descriptor(int fileDescriptor) : descriptor(fileDescriptor) {}
    ~Descriptor() {
        if (descriptor >= 0) {
            ::close(descriptor);
        }
    }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    int get() const { return descriptor; }
    int release() { return std::exchange(descriptor, -1); }

private:
    int descriptor;
};

std::string placeOf(const Descriptor& opened) {
    const std::string link = "/proc/self/fd/" + std::to_string(opened.get());
    std::string place(PATH_MAX, '\0');
    const ssize_t length = ::readlink(link.c_str(), place.data(), place.size());
    place.resize(length > 0 ? static_cast<std::size_t>(length) : 0);
    return place;
}

bool isWithin(const std::string& path, const std::string& root) {
    return path == root || path.starts_with(root == "/" ? root : root + "/");
}

bool isShown(const struct stat& status) {
    return S_ISREG(status.st_mode) || S_ISDIR(status.st_mode);
}

std::uint32_t attributesOf(const struct stat& status) {
    if (S_ISDIR(status.st_mode)) {
        return platform::attributeDirectory;
    }
    const bool isWritable = (status.st_mode & (S_IWUSR | S_IWGRP | S_IWOTH)) != 0;
    return isWritable ? 0 : platform::attributeReadOnly;
}

class PosixDirectory : public simulation::HostDirectory {
public:
    PosixDirectory(std::string directoryPath, Roots allowedRoots, int followedLinks)
        : path(std::move(directoryPath)), roots(std::move(allowedRoots)), links(followedLinks) {}

    std::optional<std::vector<simulation::HostEntry>> entries() const override {
        const std::unique_ptr<DIR, int (*)(DIR*)> opened(openWithin(), ::closedir);
        if (!opened) {
            return std::nullopt;
        }
        std::vector<std::string> found;
        while (const dirent* entry = ::readdir(opened.get())) {
            found.emplace_back(entry->d_name);
        }
        // The order of a directory on the disk says nothing; names that differ by case only need one.
        std::sort(found.begin(), found.end());
        std::vector<simulation::HostEntry> all;
        all.reserve(found.size());
        for (const std::string& name : found) {
            addEntry(all, ::dirfd(opened.get()), name);
        }
        return all;
    }

    std::optional<std::string> read(const std::wstring& name, std::size_t mostBytes) const override {
        const Descriptor file(::open(nativePath(name).c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY));
        struct stat status {};
        if (file.get() < 0 || ::fstat(file.get(), &status) != 0 || !S_ISREG(status.st_mode) ||
            !isAllowed(placeOf(file))) {
            return std::nullopt;
        }
        return readAll(file, mostBytes);
    }

    std::shared_ptr<const simulation::HostDirectory> directory(const std::wstring& name) const override {
        const std::string child = nativePath(name);
        struct stat status {};
        const bool isLink = ::lstat(child.c_str(), &status) == 0 && S_ISLNK(status.st_mode);
        return std::make_shared<PosixDirectory>(child, roots, links + (isLink ? 1 : 0));
    }

private:
    std::string path;
    Roots roots;
    int links;
    mutable std::map<std::wstring, std::string> nativeNames;  // of those that are not UTF-8

    bool isAllowed(const std::string& place) const {
        return std::any_of(roots->begin(), roots->end(),
                           [&](const std::string& root) { return isWithin(place, root); });
    }

    DIR* openWithin() const {
        Descriptor opened(::open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
        if (opened.get() < 0 || links > mostLinks || !isAllowed(placeOf(opened))) {
            return nullptr;
        }
        return ::fdopendir(opened.release());
    }

    void addEntry(std::vector<simulation::HostEntry>& all, int opened, const std::string& name) const {
        struct stat status {};
        if (name == "." || name == ".." ||
            ::fstatat(opened, name.c_str(), &status, AT_SYMLINK_NOFOLLOW) != 0) {
            return;
        }
        if (S_ISLNK(status.st_mode)) {
            const bool leadsInside = isAllowed(canonicalPath(path + "/" + name));
            if (!leadsInside || ::fstatat(opened, name.c_str(), &status, 0) != 0) {
                return;
            }
        }
        if (isShown(status)) {
            const std::wstring shown = fromUtf8(name);
            if (!isUtf8(name)) {
                nativeNames.emplace(shown, name);
            }
            all.push_back({shown, attributesOf(status)});
        }
    }

    std::string nativePath(const std::wstring& name) const {
        const auto native = nativeNames.find(name);
        return path + "/" + (native != nativeNames.end() ? native->second : toUtf8(name));
    }

    static std::optional<std::string> readAll(const Descriptor& file, std::size_t mostBytes) {
        constexpr std::size_t blockSize = 65536;
        std::string content;
        while (content.size() < mostBytes) {
            const std::size_t begin = content.size();
            const std::size_t wanted = std::min(blockSize, mostBytes - begin);
            content.resize(begin + wanted);
            const ssize_t count = ::read(file.get(), content.data() + begin, wanted);
            if (count < 0) {
                return std::nullopt;
            }
            content.resize(begin + static_cast<std::size_t>(count));
            if (count == 0) {
                break;
            }
        }
        return content;
    }
};

}  // namespace

std::string canonicalPath(const std::string& path) {
    const std::unique_ptr<char, void (*)(void*)> full(::realpath(path.c_str(), nullptr), std::free);
    return full ? std::string(full.get()) : path;
}

std::vector<std::shared_ptr<const simulation::HostDirectory>> openHostDirectories(
    const std::vector<std::string>& paths) {
    auto roots = std::make_shared<std::vector<std::string>>();
    for (const std::string& path : paths) {
        roots->push_back(canonicalPath(path));
    }
    std::vector<std::shared_ptr<const simulation::HostDirectory>> directories;
    for (const std::string& root : *roots) {
        const bool isReadable = ::access(root.c_str(), R_OK | X_OK) == 0;
        struct stat status {};
        const bool isDirectory = ::stat(root.c_str(), &status) == 0 && S_ISDIR(status.st_mode);
        directories.push_back(isReadable && isDirectory ? std::make_shared<PosixDirectory>(root, roots, 0)
                                                        : nullptr);
    }
    return directories;
}

}  // namespace explain
