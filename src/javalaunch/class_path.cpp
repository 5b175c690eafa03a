#include "javalaunch/class_path.h"

#include <string>

#include "configuration/install_kind.h"
#include "foundation/explanation.h"
#include "javalaunch/launch_command.h"

namespace zellauncher {

namespace {

void appendBootOption(const std::wstring& option, const wchar_t* key, const PropertyList& zelInstallArray) {
    if (const SourcedText* value = lookupProperty(key, zelInstallArray)) {
        appendArgument(withSourceOf(*value, option + quotedValue(*value)));
    }
}

}  // namespace

void appendBootClassPath(const PropertyList& zelInstallArray) {
    explainSection("JVM options");
    for (const PropertyEntry& entry : findProperties(L"-X", zelInstallArray)) {
        appendArgument(withSourceOf(entry.value, entry.key + entry.value), Quoting::quoted);
    }
    explainSection("boot class path");
    appendBootOption(L"-Xbootclasspath/p:", L"Xbootclasspath.prepend", zelInstallArray);
    appendBootOption(L"-Xbootclasspath/a:", L"Xbootclasspath.append", zelInstallArray);
}

void appendClassPath(const PropertyList& zelInstallArray) {
    explainSection("class path");
    if (InstallConfiguration == InstallConfigurationKind::multiuserService) {
        const SourcedText* location = lookupProperty(L"zel.base.location", zelInstallArray);
        const SourcedText base = location != nullptr ? *location : SourcedText();
        appendArgument(withSourceOf(base, L"-cp"));
        appendArgument(withSourceOf(base, base + L"/startup.jar"), Quoting::quoted);
    } else if (const SourcedText* classPath = lookupProperty(L"cp", zelInstallArray)) {
        appendArgument(withSourceOf(*classPath, L"-cp"));
        appendArgument(*classPath, Quoting::quoted);
    }
}

}  // namespace zellauncher
