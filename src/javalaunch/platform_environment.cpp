#include "javalaunch/platform_environment.h"

#include <string_view>

#include "foundation/paths.h"
#include "platform/environment.h"

namespace zellauncher {

namespace {

constexpr std::wstring_view unsetPrefix = L"env.unset";
constexpr std::wstring_view setPrefix = L"env.set";

void appendPart(std::wstring& path, bool& isFirst, const std::wstring* part) {
    if (part == nullptr) {
        return;
    }
    if (!isFirst) {
        path += L';';
    }
    path += *part;
    isFirst = false;
}

// The variable's name comes after the prefix and one more character. Empty if the key ends before it.
std::wstring variableOf(const std::wstring& key, std::wstring_view prefix) {
    return key.size() > prefix.size() ? key.substr(prefix.size() + 1) : std::wstring();
}

}  // namespace

void applyLibraryPath(PropertyList& zelInstallArray) {
    const std::wstring* append = lookupProperty(L"library.path.append", zelInstallArray);
    const std::wstring* prepend = lookupProperty(L"library.path.prepend", zelInstallArray);
    const std::wstring* internal =
        lookupProperty(L"com.mivel.zel.core.internal.librarypath", zelInstallArray);
    std::wstring path;
    bool isFirst = true;
    appendPart(path, isFirst, prepend);
    appendPart(path, isFirst, internal);
    appendPart(path, isFirst, append);
    if (prepend != nullptr || append != nullptr) {
        setEnvironmentValue(L"PATH", path, ExistingValue::isReplaced);
    }
    const SourcedText* jvmPath = lookupProperty(L"jvm.library.path", zelInstallArray);
    if (jvmPath == nullptr || jvmPath->empty()) {
        return;
    }
    SourcedText libraryPath = withForwardSlashes(*jvmPath + L";" + path);
    takeSource(libraryPath, *jvmPath);
    std::erase<wchar_t>(libraryPath, L'"');
    addProperty(zelInstallArray, L"-Djava.library.path", libraryPath);
}

void applyEnvironment(const PropertyList& zelInstallArray) {
    for (const PropertyEntry& entry : findProperties(unsetPrefix, zelInstallArray)) {
        const std::wstring variable = variableOf(entry.key, unsetPrefix);
        if (!variable.empty()) {
            unsetEnvironmentValue(variable);
        }
    }
    for (const PropertyEntry& entry : findProperties(setPrefix, zelInstallArray)) {
        const std::wstring variable = variableOf(entry.key, setPrefix);
        if (!variable.empty()) {
            setEnvironmentValue(variable, entry.value, ExistingValue::isReplaced);
        }
    }
}

int setEnvironmentValue(const std::wstring& name, const std::wstring& value, ExistingValue existingValue) {
    if (existingValue == ExistingValue::isKept && platform::environmentValue(name)) {
        return 0;
    }
    return platform::putEnvironmentText(name + L"=" + value) ? 0 : -1;
}

int unsetEnvironmentValue(const std::wstring& name) {
    if (!platform::environmentValue(name)) {
        return 1;
    }
    return platform::putEnvironmentText(name + L"=") ? 0 : -1;
}

}  // namespace zellauncher
