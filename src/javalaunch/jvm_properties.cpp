#include "javalaunch/jvm_properties.h"

#include <cstddef>

#include "foundation/log_channel.h"
#include "foundation/paths.h"
#include "properties/property_reader.h"
#include "properties/substitution.h"

namespace zellauncher {

namespace {

// The directory of jvm.properties; empty if the path is only the file name.
std::wstring directoryOf(const std::wstring& jvmPropertiesPath) {
    const std::size_t slash = jvmPropertiesPath.rfind(L'/');
    return slash == std::wstring::npos ? std::wstring() : jvmPropertiesPath.substr(0, slash);
}

void addJavaHome(PropertyList& zelInstallArray, const JvmRoot& root, const std::wstring& zelHome) {
    if (!root.externalJvm) {
        SourcedText home = directoryOf(root.jvmPropertiesPath);
        addProperty(zelInstallArray, L"java.home", home);
        return;
    }
    if (lookupProperty(L"java.home", zelInstallArray) != nullptr) {
        return;
    }
    SourcedText home = deriveJavaHome(withForwardSlashes(root.vmPath), withForwardSlashes(zelHome));
    addProperty(zelInstallArray, L"java.home", home);
}

void rewriteLibraryPath(PropertyList& zelInstallArray) {
    const SourcedText* libraryPath = lookupProperty(L"jvm.library.path", zelInstallArray);
    if (libraryPath == nullptr || libraryPath->empty()) {
        return;
    }
    SourcedText entries = *libraryPath;
    prefixJavaHomeEntries(entries);
    setPropertyValue(L"jvm.library.path", entries, zelInstallArray);
}

}  // namespace

void loadJvmProperties(PropertyList& zelInstallArray, VmargOverrides& overrides, const JvmRoot& root,
                       const std::wstring& zelHome) {
    {
        const ForcedLog forced;
        logDebugF(L"ZLNCH0077I: loading jvm.properties at \"%s\"", root.jvmPropertiesPath);
    }
    loadPropertyFile(root.jvmPropertiesPath, zelInstallArray);
    collectVmProperties(overrides, zelInstallArray);
    addJavaHome(zelInstallArray, root, zelHome);
    rewriteLibraryPath(zelInstallArray);
}

std::wstring deriveJavaHome(const std::wstring& vmPath, const std::wstring& defaultHome) {
    const std::size_t marker = vmPath.find(L"jvm/bin");
    if (marker == std::wstring::npos) {
        return defaultHome;
    }
    return vmPath.substr(0, marker == 0 ? 0 : marker - 1);
}

}  // namespace zellauncher
