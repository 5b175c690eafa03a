#include "simulation/paths.h"

#include <algorithm>
#include <stdexcept>

#include "simulation/machine_state.h"

namespace simulation {

namespace {

constexpr std::size_t longestName = 255;
constexpr std::wstring_view longForm = L"\\\\?\\";

wchar_t upperUnit(wchar_t unit) {
    const bool isLatin = (unit >= L'a' && unit <= L'z') || (unit >= 0xE0 && unit <= 0xFE && unit != 0xF7);
    const bool isGreekOrCyrillic =
        (unit >= 0x3B1 && unit <= 0x3C9 && unit != 0x3C2) || (unit >= 0x430 && unit <= 0x44F);
    return isLatin || isGreekOrCyrillic ? static_cast<wchar_t>(unit - 0x20) : unit;
}

bool isDrive(const std::wstring& text) {
    return text.size() == 2 && text[1] == L':' &&
           ((text[0] >= L'a' && text[0] <= L'z') || (text[0] >= L'A' && text[0] <= L'Z'));
}

// The machine's own share of a drive, `\\localhost\C$`, is the drive. There are no other shares.
std::wstring withoutShare(const std::wstring& path) {
    constexpr std::size_t serverLength = std::wstring_view(L"\\\\localhost\\").size();
    const bool isShare = upperCase(path).starts_with(L"\\\\LOCALHOST\\") && path.size() > serverLength + 1 &&
                         path[serverLength + 1] == L'$';
    return isShare ? path[serverLength] + (L":" + path.substr(serverLength + 2)) : path;
}

// Length of `\\server\share` at the start of the text; no `..` leads out of it.
std::size_t shareLength(const std::wstring& text) {
    const std::size_t server = std::min(text.size(), text.find(L'\\', 2));
    return std::min(text.size(), text.find(L'\\', server + 1));
}

std::vector<std::wstring> split(const std::wstring& text) {
    std::vector<std::wstring> parts(1);
    for (const wchar_t unit : text) {
        if (unit == L'\\') {
            parts.emplace_back();
        } else {
            parts.back() += unit;
        }
    }
    return parts;
}

}  // namespace

bool isValidName(const std::wstring& name) {
    return !name.empty() && name.size() <= longestName &&
           std::none_of(name.begin(), name.end(), [](wchar_t unit) {
               return unit < 0x20 || std::wstring_view(L"<>:\"/\\|?*").find(unit) != std::wstring_view::npos;
           });
}

std::wstring upperCase(const std::wstring& text) {
    std::wstring upper = text;
    std::transform(upper.begin(), upper.end(), upper.begin(), upperUnit);
    return upper;
}

std::optional<std::wstring> makeFullPath(const std::wstring& path, const std::wstring& currentDirectory) {
    if (path.empty()) {
        return std::nullopt;
    }
    std::wstring text = path.substr(0, path.find(L'\0'));
    if (text.starts_with(longForm)) {
        return text;
    }
    std::replace(text.begin(), text.end(), L'/', L'\\');
    if (text.starts_with(longForm)) {  // with forward slashes it is normalised
        const std::optional<std::wstring> full = makeFullPath(text.substr(longForm.size()), currentDirectory);
        return full ? std::optional<std::wstring>(std::wstring(longForm) + *full) : std::nullopt;
    }
    if (text.starts_with(L"\\\\.")) {
        return text;
    }
    const bool isShare = text.starts_with(L"\\\\");
    const std::size_t rootLength = isShare ? shareLength(text) : 2;
    const bool hasDrive = text.size() >= 2 && isDrive(text.substr(0, 2));
    if (!hasDrive && !isShare) {
        text =
            text.starts_with(L"\\") ? currentDirectory.substr(0, 2) + text : currentDirectory + L"\\" + text;
    } else if (!isShare && (text.size() == 2 || text[2] != L'\\')) {
        const bool isCurrent = upperCase(text.substr(0, 2)) == upperCase(currentDirectory.substr(0, 2));
        text = (isCurrent ? currentDirectory : text.substr(0, 2)) + L"\\" + text.substr(2);
    }
    const bool endsInSeparator = text.back() == L'\\';
    std::vector<std::wstring> kept;
    const std::vector<std::wstring> parts = split(text.substr(rootLength));
    for (std::size_t i = 0; i < parts.size(); ++i) {
        std::wstring part = parts[i];
        if (part == L"..") {
            if (!kept.empty()) {
                kept.pop_back();
            }
            continue;
        }
        if (part.empty() || part == L".") {
            continue;
        }
        while (!part.empty() && (part.back() == L'.' || (part.back() == L' ' && i + 1 == parts.size()))) {
            part.pop_back();
        }
        if (!part.empty()) {
            kept.push_back(part);
        }
    }
    std::wstring full = text.substr(0, rootLength);
    for (const std::wstring& part : kept) {
        full += L"\\" + part;
    }
    if ((kept.empty() && !isShare) || endsInSeparator) {
        full += L"\\";
    }
    return full;
}

ParsedPath parsePath(const std::wstring& path, const std::wstring& currentDirectory, std::size_t limit) {
    ParsedPath parsed;
    const std::optional<std::wstring> full = makeFullPath(path, currentDirectory);
    const bool isLong = full && full->starts_with(longForm);
    if (!full) {
        parsed.error = platform::errorPathNotFound;
        return parsed;
    }
    if (!isLong && full->size() >= std::min(limit, plainPathLimit)) {
        parsed.error = limit < plainPathLimit ? platform::errorFileNameTooLong : platform::errorPathNotFound;
        return parsed;
    }
    std::vector<std::wstring> parts = split(isLong ? full->substr(longForm.size()) : withoutShare(*full));
    parsed.endsInSeparator = parts.size() > 1 && parts.back().empty();
    if (parsed.endsInSeparator) {
        parts.pop_back();
    }
    if (!isDrive(parts.front())) {
        parsed.error = platform::errorPathNotFound;
        return parsed;
    }
    if (isLong && parts.size() == 1 && !parsed.endsInSeparator) {
        parsed.error = platform::errorAccessDenied;  // the volume itself, not its root directory
        return parsed;
    }
    for (std::size_t i = 1; i < parts.size(); ++i) {
        if (!isValidName(parts[i]) || parts[i] == L"." || parts[i] == L"..") {
            parsed.error = platform::errorInvalidName;
            return parsed;
        }
    }
    parsed.components = std::move(parts);
    return parsed;
}

ParsedPath parseWithoutLimit(const std::wstring& path) {
    const bool hasPrefixOrShare = path.starts_with(L"\\\\");
    const std::optional<std::wstring> full = makeFullPath(path, L"C:\\");
    if (!full) {
        return {platform::errorPathNotFound, {}, false};
    }
    return parsePath(hasPrefixOrShare ? *full : std::wstring(longForm) + *full, L"C:\\", full->size() + 5);
}

Lookup lookUp(MachineState& machine, const ParsedPath& path) {
    Lookup found;
    found.isDirectoryName = path.endsInSeparator;
    found.error = path.error;
    if (path.error != platform::errorSuccess) {
        return found;
    }
    const auto drive = machine.drives.find(upperCase(path.components.front()));
    if (drive == machine.drives.end()) {
        found.error = platform::errorPathNotFound;
        return found;
    }
    NodePointer node = drive->second;
    for (std::size_t i = 1; i < path.components.size(); ++i) {
        if (!node->isDirectory()) {
            found.error = platform::errorPathNotFound;
            return found;
        }
        const bool isLast = i + 1 == path.components.size();
        loadEntries(*node);
        const auto entry = node->entries.find(upperCase(path.components[i]));
        if (isLast) {
            found.parent = node;
            found.leaf = path.components[i];
        }
        if (entry == node->entries.end()) {
            found.error = isLast ? platform::errorFileNotFound : platform::errorPathNotFound;
            return found;
        }
        node = entry->second;
    }
    if (path.endsInSeparator && !node->isDirectory()) {
        found.error = platform::errorInvalidName;
        return found;
    }
    found.node = node;
    return found;
}

Lookup lookUpForSelf(const std::wstring& path, std::size_t limit) {
    Lookup found = lookUp(machineOfSelf(), parsePath(path, self().currentDirectory, limit));
    if (found.node && found.node->isBeingDeleted()) {
        found.node = nullptr;
        found.error = platform::errorAccessDenied;
    }
    return found;
}

NodePointer makeNode(MachineState& machine, const std::wstring& path, std::uint32_t attributes) {
    const ParsedPath parsed = parseWithoutLimit(path);
    if (parsed.error != platform::errorSuccess) {
        throw std::invalid_argument("no file of a simulated machine can have this path");
    }
    const auto drive = machine.drives.find(upperCase(parsed.components.front()));
    if (drive == machine.drives.end()) {
        throw std::invalid_argument("the simulated machine has no such drive");
    }
    NodePointer node = drive->second;
    for (std::size_t i = 1; i < parsed.components.size(); ++i) {
        if (!node->isDirectory()) {
            throw std::invalid_argument("a part of the path is a file of the simulated machine");
        }
        loadEntries(*node);
        NodePointer& entry = node->entries[upperCase(parsed.components[i])];
        if (!entry) {
            entry = std::make_shared<Node>();
            entry->name = parsed.components[i];
            entry->attributes = i + 1 == parsed.components.size() ? attributes : platform::attributeDirectory;
            if (node->entriesOnDevice) {
                (*node->entriesOnDevice)[upperCase(entry->name)] = {entry, entry->name};
            }
        }
        node = entry;
    }
    return node;
}

}  // namespace simulation
