#include "cache/shared_class_cache.h"

#include <algorithm>
#include <optional>
#include <string_view>

#include "cache/shutdown_log.h"
#include "foundation/directory_removal.h"
#include "foundation/file_queries.h"
#include "foundation/log_channel.h"
#include "foundation/paths.h"

namespace zellauncher {

namespace {

void stripBlanks(std::wstring& text) {
    text.erase(0, std::min(text.find_first_not_of(L' '), text.size()));
    text.resize(text.find_last_not_of(L' ') + 1);
}

// The value of an option in the cache setting: the text after the first `=` at or after the option's name,
// up to the next comma. Required oddity: the name is also found inside another word.
std::optional<std::wstring> optionText(const std::wstring& value, std::wstring_view letters) {
    const std::size_t found = value.find(letters);
    if (found == std::wstring::npos) {
        return std::nullopt;
    }
    const std::size_t assignment = value.find(L'=', found);
    const std::size_t start = assignment == std::wstring::npos ? 0 : assignment + 1;
    const std::size_t end = std::min(value.find(L',', start), value.size());
    std::wstring text = value.substr(start, end - start);
    stripBlanks(text);
    return text;
}

// Deletes the cache files in the control directory if it is in the workspace. True if files were looked
// for and nothing failed.
bool purgeCache(const std::wstring& dataDirectory, const std::wstring& cacheOption) {
    const std::optional<std::wstring> name = optionText(cacheOption, L"name");
    if (!name) {
        return false;
    }
    const std::optional<std::wstring> directory = optionText(cacheOption, L"controlDir");
    if (!directory) {
        return false;
    }
    const std::wstring workspace = toLongPath(dataDirectory);
    const std::wstring controlDirectory = toLongPath(*directory);
    if (!controlDirectory.starts_with(workspace)) {
        return false;  // other users may share a cache outside the workspace
    }
    std::wstring ignoredErrors;
    return removeMatchingFiles(controlDirectory, name->substr(0, name->find(L'%')), ignoredErrors);
}

bool isManifestKnown(const PropertyList& zelInstallArray, const PropertyList& zelLauncherArray) {
    const std::wstring* known = lookupProperty(L"provisioning.manifest.version", zelInstallArray);
    const std::wstring* shipped = lookupProperty(L"provisioning.manifest.version", zelLauncherArray);
    return known != nullptr && shipped != nullptr && *known == *shipped;
}

}  // namespace

bool cacheMaintenance(const std::wstring& dataDirectory, const VmargOverrides& overrides,
                      FormerEnd formerEnd) {
    const bool isEnabled = overrides.count(L"vmarg.CacheMaintenance.enable") != 0;
    bool isPurged = false;
    if (isEnabled && formerEnd == FormerEnd::unclean) {
        const auto cacheOption = overrides.find(L"vmarg.Dshare");
        isPurged =
            purgeCache(dataDirectory, cacheOption != overrides.end() ? cacheOption->second : SourcedText());
    }
    recordPlatformStart(dataDirectory);
    return isPurged;
}

void clearSharedClasses(const PropertyList& zelInstallArray, const PropertyList& zelLauncherArray) {
    if (isManifestKnown(zelInstallArray, zelLauncherArray)) {
        return;
    }
    const std::wstring* location = lookupProperty(L"jvm.shareclasses.fullpath", zelInstallArray);
    if (location == nullptr) {
        return;
    }
    const std::wstring directory = withBackslashes(*location);
    if (!fileExists(directory)) {
        return;
    }
    std::wstring errors;
    if (!removeDirectoryContents(directory, errors)) {
        logMessageF(
            "\nZLNCH0086I begin: Information collected while removing shared classes directory\n%ls\n"
            "ZLNCH0087I end: Unable to remove all files in the shared classes directory.",
            errors);
    }
}

}  // namespace zellauncher
