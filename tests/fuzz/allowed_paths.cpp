#include "fuzz/allowed_paths.h"

#include <algorithm>
#include <string_view>

namespace fuzz {

namespace {

std::wstring upperCase(std::wstring text) {
    for (wchar_t& unit : text) {
        unit = unit >= L'a' && unit <= L'z' ? static_cast<wchar_t>(unit - 0x20) : unit;
    }
    return text;
}

bool isInTree(const std::wstring& path, const std::wstring& directory) {
    return path == directory || path.starts_with(directory + (directory.ends_with(L"\\") ? L"" : L"\\"));
}

// Except in the long form, the system drops dots at the end of a name, and blanks at the end of a path.
std::wstring systemName(const std::wstring& component, bool isLast) {
    return component.substr(0, component.find_last_not_of(isLast ? L". " : L".") + 1);
}

}  // namespace

std::wstring systemPath(const std::wstring& path) {
    const bool isLongForm = path.starts_with(L"\\\\?\\");
    std::wstring text = upperCase(isLongForm ? path.substr(4) : path);
    std::replace(text.begin(), text.end(), L'/', L'\\');
    const bool isUnc = text.starts_with(L"\\\\");
    if (!isUnc && (text.size() < 2 || text[1] != L':')) {
        text = L"C:\\" + text;
    } else if (!isUnc) {
        text.insert(2, L"\\");  // the current directory of a drive is its root
    }
    std::vector<std::wstring> components;
    for (std::size_t start = 0; start < text.size();) {
        const std::size_t end = std::min(text.find(L'\\', start), text.size());
        const std::wstring component = text.substr(start, end - start);
        const std::wstring name = isLongForm ? component : systemName(component, end == text.size());
        if (component == L".." && components.size() > 1) {
            components.pop_back();
        } else if (component != L"." && component != L".." && !name.empty()) {
            components.push_back(name);
        }
        start = end + 1;
    }
    std::wstring full = isUnc ? L"\\" : L"";
    for (const std::wstring& name : components) {
        full += (full.empty() ? L"" : L"\\") + name;
    }
    return components.size() == 1 && !isUnc ? full + L"\\" : full;
}

void AllowedPaths::allowTree(const std::wstring& directory) {
    trees.push_back(systemPath(directory));
}

void AllowedPaths::allowFile(const std::wstring& file) {
    files.push_back(systemPath(file));
}

bool AllowedPaths::mayTouch(const std::wstring& path) const {
    const std::wstring full = systemPath(path);
    return std::find(files.begin(), files.end(), full) != files.end() ||
           std::any_of(trees.begin(), trees.end(), [&](const auto& tree) { return isInTree(full, tree); });
}

bool AllowedPaths::mayLookAt(const std::wstring& path) const {
    const std::wstring full = systemPath(path);
    return mayTouch(path) ||
           std::any_of(trees.begin(), trees.end(), [&](const auto& tree) { return isInTree(tree, full); });
}

FileAccess fileAccessOf(const simulation::Operation& operation) {
    constexpr std::string_view looks[] = {"fileAttributes", "createDirectory"};
    constexpr std::string_view touches[] = {"copyFile",  "createFile", "deleteFile", "findFirst",
                                            "flushFile", "moveFile",   "openStream", "removeDirectory"};
    if (std::find(std::begin(looks), std::end(looks), operation.name) != std::end(looks)) {
        return FileAccess::look;
    }
    return std::find(std::begin(touches), std::end(touches), operation.name) != std::end(touches)
               ? FileAccess::touch
               : FileAccess::none;
}

}  // namespace fuzz
