#include <algorithm>
#include <limits>
#include <utility>

#include "explain/encoding.h"
#include "explain/host_files.h"
#include "explain/windows_api.h"
#include "explain/windows_paths.h"
#include "platform/files.h"

// A file or directory is opened first and then asked where it really is, so that a link that changes
// meanwhile leads nowhere.
namespace explain {

namespace {

using Roots = std::shared_ptr<const std::vector<std::wstring>>;

constexpr int mostLinks = 8;  // that lead to each other
constexpr std::uint32_t shownAttributes = platform::attributeReadOnly | platform::attributeHidden |
                                          platform::attributeDirectory | platform::attributeNotContentIndexed;

std::wstring longForm(const std::wstring& path) {
    return L"\\\\?\\" + path;
}

class OpenHandle {
public:
    explicit OpenHandle(const std::wstring& path)
        : handle(CreateFileW(longForm(path).c_str(), GENERIC_READ,
                             FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr, OPEN_EXISTING,
                             FILE_FLAG_BACKUP_SEMANTICS, nullptr)) {}
    ~OpenHandle() {
        if (isOpen()) {
            CloseHandle(handle);
        }
    }
    OpenHandle(const OpenHandle&) = delete;
    OpenHandle& operator=(const OpenHandle&) = delete;
    bool isOpen() const { return handle != INVALID_HANDLE_VALUE; }
    HANDLE get() const { return handle; }

private:
    HANDLE handle;
};

// Without links; empty if it cannot be found out.
std::wstring placeOf(const OpenHandle& opened) {
    std::wstring place(32768, L'\0');
    const DWORD length =
        GetFinalPathNameByHandleW(opened.get(), place.data(), static_cast<DWORD>(place.size()), 0);
    place.resize(length < place.size() ? length : 0);
    return fullDrivePath(place).value_or(L"");
}

std::optional<std::string> readAll(const OpenHandle& file, std::size_t mostBytes) {
    constexpr std::size_t blockSize = 65536;
    std::string content;
    while (content.size() < mostBytes) {
        const std::size_t begin = content.size();
        const std::size_t wanted = std::min(blockSize, mostBytes - begin);
        content.resize(begin + wanted);
        DWORD count = 0;
        if (ReadFile(file.get(), content.data() + begin, static_cast<DWORD>(wanted), &count, nullptr) == 0) {
            return std::nullopt;
        }
        content.resize(begin + count);
        if (count == 0) {
            break;
        }
    }
    return content;
}

class WindowsDirectory : public simulation::HostDirectory {
public:
    WindowsDirectory(std::wstring directoryPath, Roots allowedRoots, int followedLinks)
        : path(std::move(directoryPath)), roots(std::move(allowedRoots)), links(followedLinks) {}

    std::optional<std::vector<simulation::HostEntry>> entries() const override {
        if (!isAllowed(path) || links > mostLinks) {
            return std::nullopt;
        }
        WIN32_FIND_DATAW data{};
        const HANDLE search = FindFirstFileW(longForm(below(L"*")).c_str(), &data);
        if (search == INVALID_HANDLE_VALUE) {
            return std::nullopt;
        }
        std::vector<simulation::HostEntry> all;
        do {
            addEntry(all, data);
        } while (FindNextFileW(search, &data) != 0);
        FindClose(search);
        return all;
    }

    std::optional<std::string> read(const std::wstring& name, std::size_t mostBytes) const override {
        const OpenHandle file(below(name));
        if (!file.isOpen() || !isWithinRoots(placeOf(file))) {
            return std::nullopt;
        }
        return readAll(file, mostBytes);
    }

    std::shared_ptr<const simulation::HostDirectory> directory(const std::wstring& name) const override {
        const std::wstring child = below(name);
        const DWORD attributes = GetFileAttributesW(longForm(child).c_str());
        const bool isLink =
            attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0;
        return std::make_shared<WindowsDirectory>(child, roots, links + (isLink ? 1 : 0));
    }

private:
    std::wstring path;
    Roots roots;
    int links;

    std::wstring below(const std::wstring& name) const {
        return path.ends_with(L'\\') ? path + name : path + L"\\" + name;
    }

    bool isWithinRoots(const std::wstring& place) const {
        return !place.empty() && std::any_of(roots->begin(), roots->end(),
                                             [&](const std::wstring& root) { return isWithin(place, root); });
    }

    bool isAllowed(const std::wstring& linkOrDirectory) const {
        const OpenHandle opened(linkOrDirectory);
        return opened.isOpen() && isWithinRoots(placeOf(opened));
    }

    void addEntry(std::vector<simulation::HostEntry>& all, const WIN32_FIND_DATAW& data) const {
        const std::wstring name = data.cFileName;
        const bool isLink = (data.dwFileAttributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0;
        if (name == L"." || name == L".." || (isLink && !isAllowed(below(name)))) {
            return;
        }
        all.push_back({name, static_cast<std::uint32_t>(data.dwFileAttributes) & shownAttributes});
    }
};

}  // namespace

std::string canonicalPath(const std::string& path) {
    std::wstring full(32768, L'\0');
    full.resize(
        GetFullPathNameW(fromUtf8(path).c_str(), static_cast<DWORD>(full.size()), full.data(), nullptr));
    if (full.size() > 3 && full.ends_with(L'\\')) {
        full.pop_back();
    }
    return toUtf8(full);
}

std::vector<std::shared_ptr<const simulation::HostDirectory>> openHostDirectories(
    const std::vector<std::string>& paths) {
    auto roots = std::make_shared<std::vector<std::wstring>>();
    std::vector<std::wstring> directories;
    for (const std::string& path : paths) {
        directories.push_back(fromUtf8(canonicalPath(path)));
        const OpenHandle opened(directories.back());
        roots->push_back(opened.isOpen() ? placeOf(opened) : std::wstring());
    }
    std::erase(*roots, std::wstring());
    std::vector<std::shared_ptr<const simulation::HostDirectory>> opened;
    for (const std::wstring& directory : directories) {
        const DWORD attributes = GetFileAttributesW(longForm(directory).c_str());
        const bool isDirectory =
            attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
        auto shown = std::make_shared<WindowsDirectory>(directory, roots, 0);
        opened.push_back(isDirectory && shown->entries() ? std::move(shown) : nullptr);
    }
    return opened;
}

}  // namespace explain
