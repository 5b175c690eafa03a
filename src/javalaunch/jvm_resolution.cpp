#include "javalaunch/jvm_resolution.h"

#include <cstddef>
#include <string_view>

#include "foundation/file_tests.h"
#include "foundation/log_channel.h"
#include "foundation/paths.h"
#include "foundation/text.h"
#include "properties/property_reader.h"
#include "properties/substitution.h"

namespace zellauncher {

PROCESS_WIDE std::wstring jvmPolicyFilePath;
PROCESS_WIDE bool jvmPropertiesInWorkspace = false;

namespace {

constexpr const wchar_t* jvmPropertiesName = L"jvm.properties";
constexpr std::wstring_view pluginsMarker = L"/eclipse/plugins/";
constexpr std::wstring_view jvmMarker = L"jvm/bin";

// These lines stand in every log.
void logForced(const std::wstring& format, const std::wstring& argument) {
    bool saved = false;
    swapLogDebug(true, saved);
    logDebugF(format, argument);
    setLogDebug(saved);
}

// The VM that the start names: `-vm`, else the property; empty without one.
std::wstring namedVm(const PropertyList& zelInstallArray, const Arguments& arguments) {
    const int option = findArgumentIndex(L"-vm", arguments);
    if (option < 0) {
        const std::wstring* property = lookupProperty(L"vm", zelInstallArray);
        return property != nullptr ? *property : std::wstring();
    }
    const std::size_t value = static_cast<std::size_t>(option) + 1;
    if (value >= arguments.size() || arguments[value].empty()) {
        logFatal("ZLNCH0079E: -vm on command line must be followed by a valid jvm path.");
    }
    return arguments[value];
}

// The root of a VM that has no jvm.properties of its own: the workspace's, else the install's.
std::wstring externalJvmRoot(const PropertyList& zelInstallArray, const std::wstring& zelHome) {
    std::wstring root = zelHome;
    loadJVMPropertiesFileFromWorkspace(zelInstallArray, root);
    toForwardSlashes(root);
    return root;
}

std::wstring findJvmRoot(const PropertyList& zelInstallArray, const std::wstring& zelHome, JvmRoot& root) {
    if (root.vmPath.empty()) {
        logForced(L"ZLNCH0119I: VM specified is \"%s\"", L"external JVM");
        root.externalJvm = true;
        return externalJvmRoot(zelInstallArray, zelHome);
    }
    logForced(L"ZLNCH0021I: VM specified is \"%s\"", root.vmPath);
    std::wstring directory;
    if (findPluginJvmRoot(root.vmPath, directory, root.externalJvm) ||
        findParentJvmRoot(root.vmPath, directory)) {
        return directory;
    }
    return externalJvmRoot(zelInstallArray, zelHome);
}

// The directory of jvm.properties; empty when the path is the bare name.
std::wstring directoryOf(const std::wstring& jvmPropertiesPath) {
    const std::size_t slash = jvmPropertiesPath.rfind(L'/');
    return slash == std::wstring::npos ? std::wstring() : jvmPropertiesPath.substr(0, slash);
}

void addJavaHome(PropertyList& zelInstallArray, const JvmRoot& root, const std::wstring& zelHome) {
    if (!root.externalJvm) {
        addProperty(zelInstallArray, L"java.home", directoryOf(root.jvmPropertiesPath));
        return;
    }
    if (lookupProperty(L"java.home", zelInstallArray) != nullptr) {
        return;
    }
    std::wstring defaultHome = zelHome;
    std::wstring vmPath = root.vmPath;
    toForwardSlashes(defaultHome);
    toForwardSlashes(vmPath);
    std::wstring javaHome;
    deriveJavaHome(vmPath, javaHome, defaultHome);
    addProperty(zelInstallArray, L"java.home", javaHome);
}

void rewriteLibraryPath(PropertyList& zelInstallArray) {
    const std::wstring* libraryPath = lookupProperty(L"jvm.library.path", zelInstallArray);
    if (libraryPath == nullptr || libraryPath->empty()) {
        return;
    }
    std::wstring entries = *libraryPath;
    prefixJavaHomeEntries(entries);
    setPropertyValue(L"jvm.library.path", entries, zelInstallArray);
}

}  // namespace

bool resolveJvmRoot(PropertyList& zelInstallArray, const Arguments& arguments, const std::wstring& zelHome,
                    JvmRoot& root) {
    root.vmPath = namedVm(zelInstallArray, arguments);
    replaceFirst(root.vmPath, L"${zel.home}", zelHome);
    toForwardSlashes(root.vmPath);
    const std::wstring directory = findJvmRoot(zelInstallArray, zelHome, root);
    addProperty(zelInstallArray, L"jvm.root", directory);
    root.jvmPropertiesPath = directory + jvmPropertiesName;
    return true;
}

void loadJvmProperties(PropertyList& zelInstallArray, VmargOverrides& overrides, const JvmRoot& root,
                       const std::wstring& zelHome) {
    logForced(L"ZLNCH0077I: loading jvm.properties at \"%s\"", root.jvmPropertiesPath);
    loadPropertyFile(root.jvmPropertiesPath, zelInstallArray);
    collectVmProperties(overrides, zelInstallArray);
    addJavaHome(zelInstallArray, root, zelHome);
    rewriteLibraryPath(zelInstallArray);
}

bool findPluginJvmRoot(const std::wstring& path, std::wstring& root, bool& externalJvm) {
    externalJvm = true;
    const std::size_t marker = path.find(pluginsMarker);
    if (marker == std::wstring::npos) {
        return false;
    }
    const std::size_t end = path.find(L'/', marker + pluginsMarker.size());
    root = end == std::wstring::npos ? std::wstring() : path.substr(0, end + 1);
    externalJvm = !hasJvmProperties(root);
    return !externalJvm;
}

bool findParentJvmRoot(const std::wstring& vmPath, std::wstring& root) {
    constexpr int nearestDepth = 2;
    constexpr int farthestDepth = 4;
    std::size_t slash = vmPath.size();
    for (int depth = 1; depth <= farthestDepth; ++depth) {
        if (slash == 0) {
            return false;
        }
        slash = vmPath.rfind(L'/', slash - 1);
        if (slash == std::wstring::npos) {
            return false;
        }
        const std::wstring candidate = vmPath.substr(0, slash + 1);
        if (depth >= nearestDepth && hasJvmProperties(candidate)) {
            root = candidate;
            return true;
        }
    }
    return false;
}

bool hasJvmProperties(const std::wstring& directory) {
    std::wstring path = directory + jvmPropertiesName;
    toBackslashes(path);
    return fileExists(path);
}

void loadJVMPropertiesFileFromWorkspace(const PropertyList& zelInstallArray, std::wstring& root) {
    logDebugF(L"ZLNCH0119I: In loadJVMPropertiesFileFromWorkspace ", L"");
    const std::wstring* workspace = lookupProperty(L"scrivia.workspace.loc", zelInstallArray);
    if (workspace == nullptr) {
        root += L"/zel/deploy/";
        return;
    }
    logDebugF(L"ZLNCH0119I: Scrivia Workspace Location (from zelInstallArray) is \"%s\"", *workspace);
    const std::wstring directory = *workspace + L"\\";
    jvmPolicyFilePath = directory + jvmPropertiesName;
    jvmPropertiesInWorkspace = fileExists(jvmPolicyFilePath);
    logDebugF(L"ZLNCH0119I: JVM property file check in workspace location , jvmPolicyFilePath -  \"%s\"",
              jvmPolicyFilePath);
    if (jvmPropertiesInWorkspace) {
        root = directory;
        logDebugF(L" JVM property file loading from workspace location", L"");
    } else {
        root += L"/zel/deploy/";
    }
}

void deriveJavaHome(const std::wstring& vmPath, std::wstring& javaHome, const std::wstring& defaultHome) {
    const std::size_t marker = vmPath.find(jvmMarker);
    if (marker == std::wstring::npos) {
        javaHome = defaultHome;
    } else {
        javaHome = vmPath.substr(0, marker == 0 ? 0 : marker - 1);
    }
}

}  // namespace zellauncher
