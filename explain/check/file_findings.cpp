#include "explain/check/file_findings.h"

#include <algorithm>

#include "explain/check/rules.h"
#include "explain/encoding.h"
#include "explain/windows_paths.h"
#include "foundation/text.h"
#include "platform/files.h"

namespace explain {

std::optional<std::wstring> FileFindings::fullPath(const std::wstring& path) const {
    return resolvedDrivePath(*world.machine, path);
}

bool FileFindings::exists(const std::wstring& path) const {
    const std::optional<std::wstring> full = fullPath(path);
    return full && world.machine->exists(*full);
}

bool FileFindings::isFile(const std::wstring& path) const {
    return exists(path) && !world.machine->isDirectory(path);
}

bool FileFindings::isDirectory(const std::wstring& path) const {
    return exists(path) && world.machine->isDirectory(path);
}

bool FileFindings::isReadOnly(const std::wstring& path) const {
    return (world.machine->attributes(path) & platform::attributeReadOnly) != 0;
}

bool FileFindings::isShown(const std::wstring& path) const {
    const std::wstring& install = options.install.path;
    return zellauncher::equalIgnoringCase(path.substr(0, install.size()), install) ||
           std::any_of(options.maps.begin(), options.maps.end(),
                       [&](const Mapping& map) { return isWithin(path, map.path); });
}

std::vector<std::wstring> FileFindings::namesIn(const std::wstring& directory) const {
    std::vector<std::wstring> names;
    if (!isDirectory(directory)) {
        return names;
    }
    world.machine->run({L"C:\\zelexplain"}, [&] {
        platform::FirstMatch match = platform::findFirst(directory + L"\\*");
        if (match.handle == platform::FindHandle::none) {
            return 0;
        }
        for (auto entry = std::optional(match.entry); entry; entry = platform::findNext(match.handle)) {
            names.push_back(entry->name);
        }
        platform::findClose(match.handle);
        return 0;
    });
    return names;
}

void FileFindings::add(const char* rule, Severity severity, const std::wstring& path, std::size_t line,
                       std::string text, std::string consequence, std::string remedy,
                       std::vector<std::string> messages) {
    findings.push_back({rule, severity, toUtf8(installName(options, path)), line, std::move(text),
                        std::move(consequence), std::move(remedy), std::move(messages)});
}

void FileFindings::addAt(const ValueSource& source, const char* rule, Severity severity,
                         const std::string& text, const std::string& consequence, const std::string& remedy,
                         const std::vector<std::string>& messages) {
    const Place place = source.origin.value_or(Place{source.file, source.line, source.name});
    if (place.line != 0) {
        findings.push_back({rule, severity, toUtf8(place.file), place.line, toUtf8(place.name) + " " + text,
                            consequence, remedy, messages});
    }
}

void FileFindings::addDangling(const ValueSource& source, Severity severity, const std::string& text,
                               const std::string& consequence, const std::string& remedy,
                               const std::vector<std::string>& messages) {
    addAt(source, rules::danglingPath, severity, text, consequence, remedy, messages);
}

void FileFindings::addMissing(const NamedPath& named, const std::string& what, const std::string& consequence,
                              const std::vector<std::string>& messages) {
    const std::wstring path = fullPath(named.path).value_or(named.path);
    if (isWithin(path, inventedDirectory)) {
        return;
    }
    add(rules::missingFile, Severity::error, path, 0, what + " is missing: " + toUtf8(path), consequence,
        "Ship the file, or correct what names it.", messages);
    addDangling(named.source, Severity::error, "leads to a file that does not exist: " + toUtf8(path),
                consequence, "Correct the path, or ship the file.", messages);
}

void FileFindings::checkLength(const std::wstring& path, const std::string& what) {
    const std::wstring full = fullPath(path).value_or(path);
    if (full.size() > longestPath) {
        add(rules::longPath, Severity::error, full, 0,
            "the path of " + what + " has " + std::to_string(full.size()) + " characters",
            "Windows programs can use 259. The file cannot be opened or started.",
            "Shorten the directories of the install.");
    }
}

}  // namespace explain
