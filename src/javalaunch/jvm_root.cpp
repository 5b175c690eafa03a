#include "javalaunch/jvm_root.h"

#include <cstddef>
#include <string_view>

#include "foundation/explanation.h"
#include "foundation/file_queries.h"
#include "foundation/log_channel.h"
#include "foundation/paths.h"
#include "foundation/text.h"
#include "foundation/user_files.h"
#include "properties/lookup_explanation.h"

namespace zellauncher {

PROCESS_WIDE std::wstring jvmPolicyFilePath;
PROCESS_WIDE bool jvmPropertiesInWorkspace = false;

namespace {

constexpr std::wstring_view pluginsMarker = L"/eclipse/plugins/";

// The JVM that `-vm`, otherwise the property `vm`, names; empty without either.
std::wstring namedVm(const PropertyList& zelInstallArray, const Arguments& arguments) {
    if (!hasArgument(L"-vm", arguments)) {
        const std::wstring* property = lookupProperty(L"vm", zelInstallArray);
        return property != nullptr ? *property : std::wstring();
    }
    const std::wstring* argument = argumentAfter(L"-vm", arguments);
    if (argument == nullptr || argument->empty()) {
        logFatal("ZLNCH0079E: -vm on command line must be followed by a valid jvm path.");
    }
    explainOverridden(L"vm", zelInstallArray);
    return *argument;
}

std::wstring externalJvmRoot(const PropertyList& zelInstallArray, const std::wstring& zelHome) {
    return withForwardSlashes(loadJVMPropertiesFileFromWorkspace(zelInstallArray, zelHome));
}

std::wstring findJvmRoot(const PropertyList& zelInstallArray, const std::wstring& zelHome, JvmRoot& root) {
    if (root.vmPath.empty()) {
        const ForcedLog forced;
        logDebugF(L"ZLNCH0119I: VM specified is \"%s\"", L"external JVM");
    } else {
        const ForcedLog forced;
        logDebugF(L"ZLNCH0021I: VM specified is \"%s\"", root.vmPath);
    }
    const std::optional<std::wstring> pluginRoot = findPluginJvmRoot(root.vmPath);
    root.externalJvm = !pluginRoot;
    if (pluginRoot) {
        return *pluginRoot;
    }
    const std::optional<std::wstring> parentRoot = findParentJvmRoot(root.vmPath);
    return parentRoot ? *parentRoot : externalJvmRoot(zelInstallArray, zelHome);
}

}  // namespace

std::optional<JvmRoot> resolveJvmRoot(PropertyList& zelInstallArray, const Arguments& arguments,
                                      const std::wstring& zelHome) {
    Decision decision(Subject::jvmRoot);
    JvmRoot root;
    root.vmPath = namedVm(zelInstallArray, arguments);
    replaceFirst(root.vmPath, L"${zel.home}", zelHome);
    toForwardSlashes(root.vmPath);
    SourcedText directory = findJvmRoot(zelInstallArray, zelHome, root);
    decision.made(directory);
    addProperty(zelInstallArray, L"jvm.root", directory);
    root.jvmPropertiesPath = directory + jvmPropertiesName;
    return root;
}

std::optional<std::wstring> findPluginJvmRoot(const std::wstring& vmPath) {
    const std::size_t marker = vmPath.find(pluginsMarker);
    if (marker == std::wstring::npos) {
        return std::nullopt;
    }
    const std::size_t end = vmPath.find(L'/', marker + pluginsMarker.size());
    const std::wstring root = end == std::wstring::npos ? std::wstring() : vmPath.substr(0, end + 1);
    return hasJvmProperties(root) ? std::optional(root) : std::nullopt;
}

std::optional<std::wstring> findParentJvmRoot(const std::wstring& vmPath) {
    constexpr int nearestDepth = 2;
    constexpr int farthestDepth = 4;
    std::size_t slash = vmPath.size();
    for (int depth = 1; depth <= farthestDepth; ++depth) {
        if (slash == 0) {
            return std::nullopt;
        }
        slash = vmPath.rfind(L'/', slash - 1);
        if (slash == std::wstring::npos) {
            return std::nullopt;
        }
        const std::wstring candidate = vmPath.substr(0, slash + 1);
        if (depth >= nearestDepth && hasJvmProperties(candidate)) {
            return candidate;
        }
    }
    return std::nullopt;
}

bool hasJvmProperties(const std::wstring& directory) {
    return fileExists(withBackslashes(directory + jvmPropertiesName));
}

std::wstring loadJVMPropertiesFileFromWorkspace(const PropertyList& zelInstallArray,
                                                const std::wstring& zelHome) {
    const std::wstring installRoot = zelHome + L"/zel/deploy/";
    logDebugF(L"ZLNCH0119I: In loadJVMPropertiesFileFromWorkspace ", L"");
    const std::wstring* workspace = lookupProperty(L"scrivia.workspace.loc", zelInstallArray);
    if (workspace == nullptr) {
        return installRoot;
    }
    logDebugF(L"ZLNCH0119I: Scrivia Workspace Location (from zelInstallArray) is \"%s\"", *workspace);
    const std::wstring directory = *workspace + L"\\";
    jvmPolicyFilePath = directory + jvmPropertiesName;
    jvmPropertiesInWorkspace = fileExists(jvmPolicyFilePath);
    logDebugF(L"ZLNCH0119I: JVM property file check in workspace location , jvmPolicyFilePath -  \"%s\"",
              jvmPolicyFilePath);
    if (!jvmPropertiesInWorkspace) {
        return installRoot;
    }
    logDebugF(L" JVM property file loading from workspace location", L"");
    return directory;
}

}  // namespace zellauncher
