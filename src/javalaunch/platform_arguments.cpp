#include "javalaunch/platform_arguments.h"

#include <algorithm>
#include <cstddef>

#include "configuration/install_configuration.h"
#include "configuration/locations.h"
#include "foundation/file_tests.h"
#include "foundation/log_channel.h"
#include "foundation/paths.h"
#include "foundation/text.h"
#include "launch/launch_command.h"

namespace zellauncher {

namespace {

// What happens to an option of the user, and to the word behind it.
enum class Passage {
    dropPair,    // the launcher's own reckoning stands in its place
    dropAlone,   // a request to the launcher
    passOption,  // a choice of the user, which wins over the property
};

struct KnownOption {
    const wchar_t* name;
    Passage passage;
};

constexpr KnownOption knownOptions[] = {
    {L"-data", Passage::dropPair},
    {L"-configuration", Passage::dropPair},
    {L"-plugincustomization", Passage::passOption},
    {L"-application", Passage::passOption},
    {L"-product", Passage::passOption},
    {L"-personality", Passage::passOption},
    {L"-vm", Passage::dropPair},
    {L"-restart", Passage::dropAlone},
    {L"-zel_old_pid", Passage::dropPair},
    {L"-resetconfig", Passage::dropAlone},
};

// The known option whose first occurrence stands at this position, or null: only the first of each
// is an option, a second one is an ordinary word.
const KnownOption* optionAt(std::size_t position, const Arguments& arguments) {
    const auto found =
        std::find_if(std::begin(knownOptions), std::end(knownOptions), [&](const KnownOption& option) {
            return arguments[position] == option.name &&
                   findArgumentIndex(option.name, arguments) == static_cast<int>(position);
        });
    return found == std::end(knownOptions) ? nullptr : found;
}

// The user's words in front of `-vmargs`.
void passArguments(const Arguments& arguments) {
    const int vmargs = findArgumentIndex(L"-vmargs", arguments);
    const std::size_t end = vmargs < 0 ? arguments.size() : static_cast<std::size_t>(vmargs);
    for (std::size_t i = 1; i < end;) {
        const KnownOption* option = optionAt(i, arguments);
        if (option == nullptr) {
            appendArgument(arguments[i], true);
            i += 1;
        } else if (option->passage == Passage::passOption) {
            appendArgument(arguments[i], false);
            if (i + 1 < arguments.size()) {
                appendArgument(arguments[i + 1], true);
            }
            i += 2;
        } else {
            i += option->passage == Passage::dropPair ? 2 : 1;
        }
    }
}

void requireInstallId(const PropertyList& zelInstallArray) {
    if (lookupProperty(L"zel.install.id", zelInstallArray) == nullptr) {
        logFatal("ZLNCH0005E: Couldn't find the zel.install.id property!");
    }
}

void appendOption(const wchar_t* name, const std::wstring& value) {
    appendArgument(name, false);
    appendArgument(value, true);
}

void appendDirectories(const PropertyList& zelLauncherArray, const Arguments& arguments,
                       const std::wstring& zelHome) {
    std::wstring dataDirectory;
    resolveDataDirectory(dataDirectory, zelLauncherArray, arguments, zelHome);
    appendOption(L"-data", dataDirectory);
    std::wstring configDirectory;
    resolveConfigDirectory(configDirectory, zelLauncherArray, arguments, zelHome);
    appendOption(L"-configuration", configDirectory);
}

// A choice that the user did not make comes from the property, when there is one.
void appendDefault(const wchar_t* option, const std::wstring* value, const Arguments& arguments) {
    if (value != nullptr && !hasArgument(option, arguments)) {
        appendOption(option, *value);
    }
}

void appendPluginCustomization(const PropertyList& zelInstallArray, const Arguments& arguments) {
    if (hasArgument(L"-plugincustomization", arguments)) {
        return;
    }
    const std::wstring* value = lookupProperty(L"plugincustomization", zelInstallArray);
    std::wstring path = value != nullptr ? *value : std::wstring();
    toBackslashes(path);
    if (value == nullptr || !fileExists(path)) {
        logFatalF("ZLNCH0050E:  plugin_customization.ini is missing from %ls",
                  value != nullptr ? *value : std::wstring());
    }
    appendOption(L"-plugincustomization", *value);
}

// The user's JVM arguments; a `-vm` among them has been the source of the VM and goes.
void appendUserVmArguments(const Arguments& arguments) {
    const int vmargs = findArgumentIndex(L"-vmargs", arguments);
    if (vmargs < 0) {
        return;
    }
    for (std::size_t i = static_cast<std::size_t>(vmargs) + 1; i < arguments.size(); ++i) {
        if (arguments[i] == L"-vm") {
            ++i;
        } else {
            appendArgument(arguments[i], true);
        }
    }
}

// A JVM without a console needs an option of its own.
void appendNoConsoleFix(const std::wstring& dataDirectory, const PropertyList& zelInstallArray) {
    const std::vector<const PropertyEntry*> fixes = findProperties(L"vmfix.noconsole", zelInstallArray);
    if (fixes.empty()) {
        return;
    }
    std::wstring fix = fixes.front()->value;
    replaceFirst(fix, L"${workspace.location}", dataDirectory);
    toBackslashes(fix);
    appendArgument(fix, true);
}

}  // namespace

void appendLauncherProgram(const PropertyList& zelInstallArray, const PropertyList& zelLauncherArray) {
    const std::wstring* location = lookupProperty(L"zel.base.location", zelInstallArray);
    if (location == nullptr) {
        logFatal(
            "ZLNCH0011E: Unable to determine ZEL Base Plugin location. If the problem persists, reinstall.");
    }
    std::wstring exeName;
    platformProgramName(exeName, zelLauncherArray);
    const std::wstring program = *location + L"\\win32\\x86_64\\" + exeName;
    if (!isExecutableFile(program)) {
        logFatalF("ZLNCH0007E: %ls is not executable or does not exist.", program);
    }
    setCommandProgram(program);
}

void appendPlatformArguments(const PropertyList& zelInstallArray, const PropertyList& zelLauncherArray,
                             const Arguments& arguments, const std::wstring& zelHome) {
    if (isDirectJavaStart()) {
        appendArgument(L"-nosplash", false);
    }
    if (!hasArgument(L"-debug", arguments)) {
        appendArgument(L"--launcher.suppressErrors", false);
    }
    passArguments(arguments);
    requireInstallId(zelInstallArray);
    appendDirectories(zelLauncherArray, arguments, zelHome);
    appendDefault(L"-application", lookupProperty(L"application", zelInstallArray), arguments);
    appendPluginCustomization(zelInstallArray, arguments);
    const std::wstring* product = lookupProperty(L"product", zelLauncherArray);
    appendDefault(L"-product", product != nullptr ? product : lookupProperty(L"product", zelInstallArray),
                  arguments);
    appendDefault(L"-personality", lookupProperty(L"personality", zelInstallArray), arguments);
}

void appendStartupArgument(const PropertyList& zelInstallArray, const Arguments& arguments) {
    appendArgument(L"-startup", false);
    const int perfJar = findArgumentIndex(L"-perfJar", arguments);
    const std::size_t jar = static_cast<std::size_t>(perfJar) + 1;
    if (perfJar >= 0 && jar < arguments.size()) {
        appendArgument(arguments[jar], true);
        return;
    }
    const std::wstring* location = lookupProperty(L"zel.base.location", zelInstallArray);
    appendArgument((location != nullptr ? *location : std::wstring()) + L"/launcher.jar", true);
}

void appendVmArguments(const std::wstring& dataDirectory, const PropertyList& zelInstallArray,
                       const Arguments& arguments, bool vmIsLibrary, const VmargOverrides& overrides) {
    if (!isDirectJavaStart()) {
        appendArgument(L"-vmargs", false);
    }
    appendUserVmArguments(arguments);
    // A platform that was restarted has no console, whatever its words say.
    if (!vmIsLibrary && (hasArgument(L"-restart", arguments) || !hasArgument(L"-console", arguments))) {
        appendNoConsoleFix(dataDirectory, zelInstallArray);
    }
    for (const auto& [key, option] : overrides) {
        if (!option.empty()) {
            appendArgument(option, true);
        }
    }
}

}  // namespace zellauncher
