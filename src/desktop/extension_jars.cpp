#include "desktop/extension_jars.h"

#include <algorithm>
#include <cstddef>
#include <optional>
#include <string>

#include "foundation/explanation.h"
#include "foundation/log_channel.h"
#include "foundation/paths.h"
#include "javalaunch/launch_command.h"
#include "platform/files.h"

namespace zellauncher {

PROCESS_WIDE std::wstring extensionDirPattern;

namespace {

constexpr std::size_t longestClassPath = 2000;
constexpr int mostFiles = 100;

void cutPattern() {
    extensionDirPattern.resize(extensionDirPattern.find(L'*'));
    toForwardSlashes(extensionDirPattern);
}

bool isJar(const platform::FindEntry& entry) {
    if ((entry.attributes & platform::attributeDirectory) != 0) {
        logDebug("ZELLauncher> Scanning directory..");
        return false;
    }
    const std::size_t dot = entry.name.rfind(L'.');
    const std::wstring ending = dot == std::wstring::npos ? std::wstring() : entry.name.substr(dot);
    return ending == L".jar" || ending == L".zip";
}

// Adds one file to the class path. False if there are too many.
bool appendJar(std::wstring& classPath, int& files, const std::wstring& name) {
    if (++files > mostFiles) {
        logDebug("ZELLauncher> Number of jar files greater than MAX jar files (100)");
        return false;
    }
    classPath += (files == 1 ? L"-cp=" : L";") + extensionDirPattern + name;
    classPath.resize(std::min(classPath.size(), longestClassPath));
    return true;
}

std::wstring listJars() {
    std::wstring classPath;
    const platform::FirstMatch first =
        extensionDirPattern.empty() ? platform::FirstMatch() : platform::findFirst(extensionDirPattern);
    if (first.handle == platform::FindHandle::none) {
        logDebug("ZELLauncher> Invalid file handle..");
        return classPath;
    }
    cutPattern();
    int files = 0;
    std::optional<platform::FindEntry> entry = first.entry;
    while (entry && (!isJar(*entry) || appendJar(classPath, files, entry->name))) {
        entry = platform::findNext(first.handle);
    }
    platform::findClose(first.handle);
    return classPath;
}

}  // namespace

void scanExtensionJars() {
    SourcedText extensionClassPath = listJars();
    takeSourceOfFile(extensionClassPath, extensionDirPattern);
    if (extensionClassPath.empty()) {
        return;
    }
    logDebug("ZELLauncher> appending classpath with vxext jars");
    explainSection("extension jars");
    appendArgument(extensionClassPath, Quoting::quoted);
}

}  // namespace zellauncher
