#include "javalaunch/platform_arguments.h"

#include <cstddef>

#include "configuration/install_files.h"
#include "configuration/install_kind.h"
#include "configuration/workspace.h"
#include "foundation/explanation.h"
#include "foundation/file_queries.h"
#include "foundation/log_channel.h"
#include "foundation/paths.h"
#include "foundation/text.h"
#include "javalaunch/launch_command.h"
#include "properties/launcher_options.h"

namespace zellauncher {

namespace {

// The user's arguments before `-vmargs`.
void passArguments(const Arguments& arguments) {
    const int vmargs = findArgumentIndex(L"-vmargs", arguments);
    const std::size_t end = vmargs < 0 ? arguments.size() : static_cast<std::size_t>(vmargs);
    for (std::size_t i = 1; i < end; ++i) {
        const LauncherOption* option = optionAt(i, arguments);
        switch (option == nullptr ? PassThrough::asArgument : option->passThrough) {
            case PassThrough::asArgument:
                appendArgument(arguments[i], Quoting::quoted);
                break;
            case PassThrough::asOption:
                appendArgument(arguments[i]);
                ++i;
                if (i < arguments.size()) {
                    appendArgument(arguments[i], Quoting::quoted);
                }
                break;
            case PassThrough::dropped:
                break;
            case PassThrough::droppedWithValue:
                ++i;
                break;
        }
    }
}

void requireInstallId(const PropertyList& zelInstallArray) {
    if (lookupProperty(L"zel.install.id", zelInstallArray) == nullptr) {
        logFatal("ZLNCH0005E: Couldn't find the zel.install.id property!");
    }
}

void appendOption(const wchar_t* name, const SourcedText& value) {
    appendArgument(withSourceOf(value, name));
    appendArgument(value, Quoting::quoted);
}

void appendDirectories(const PropertyList& zelLauncherArray, const Arguments& arguments,
                       const std::wstring& zelHome) {
    appendOption(L"-data", resolveDataDirectory(zelLauncherArray, arguments, zelHome));
    appendOption(L"-configuration", resolveConfigDirectory(zelLauncherArray, arguments, zelHome));
}

// An option that the user did not give comes from the property.
void appendDefault(const wchar_t* option, const SourcedText* value, const Arguments& arguments) {
    if (value != nullptr && !hasArgument(option, arguments)) {
        appendOption(option, *value);
    }
}

void appendPluginCustomization(const PropertyList& zelInstallArray, const Arguments& arguments) {
    if (hasArgument(L"-plugincustomization", arguments)) {
        return;
    }
    const SourcedText* value = lookupProperty(L"plugincustomization", zelInstallArray);
    if (value == nullptr || !fileExists(withBackslashes(*value))) {
        logFatalF("ZLNCH0050E:  plugin_customization.ini is missing from %ls",
                  value != nullptr ? *value : SourcedText());
    }
    appendOption(L"-plugincustomization", *value);
}

// The user's JVM arguments, without a `-vm` among them, which has selected the JVM already.
void appendUserVmArguments(const Arguments& arguments) {
    const int vmargs = findArgumentIndex(L"-vmargs", arguments);
    if (vmargs < 0) {
        return;
    }
    for (std::size_t i = static_cast<std::size_t>(vmargs) + 1; i < arguments.size(); ++i) {
        if (arguments[i] == L"-vm") {
            ++i;
        } else {
            appendArgument(arguments[i], Quoting::quoted);
        }
    }
}

void appendNoConsoleFix(const std::wstring& dataDirectory, const PropertyList& zelInstallArray) {
    const std::vector<PropertyEntry> fixes = findProperties(L"vmfix.noconsole", zelInstallArray);
    if (fixes.empty()) {
        return;
    }
    SourcedText fix = fixes.front().value;
    replaceFirst(fix, L"${workspace.location}", dataDirectory);
    toBackslashes(fix);
    appendArgument(fix, Quoting::quoted);
}

}  // namespace

void appendLauncherProgram(const PropertyList& zelInstallArray, const PropertyList& zelLauncherArray) {
    explainSection("program");
    const SourcedText* location = lookupProperty(L"zel.base.location", zelInstallArray);
    if (location == nullptr) {
        logFatal(
            "ZLNCH0011E: Unable to determine ZEL Base Plugin location. If the problem persists, reinstall.");
    }
    const std::wstring program = *location + L"\\win32\\x86_64\\" + platformProgramName(zelLauncherArray);
    if (!isExecutableFile(program)) {
        logFatalF("ZLNCH0007E: %ls is not executable or does not exist.", program);
    }
    setCommandProgram(withSourceOf(*location, program));
}

void appendPlatformArguments(const PropertyList& zelInstallArray, const PropertyList& zelLauncherArray,
                             const Arguments& arguments, const std::wstring& zelHome) {
    explainSection("platform arguments");
    if (isDirectJavaStart()) {
        appendArgument(L"-nosplash");
    }
    if (!hasArgument(L"-debug", arguments)) {
        appendArgument(L"--launcher.suppressErrors");
    }
    passArguments(arguments);
    requireInstallId(zelInstallArray);
    appendDirectories(zelLauncherArray, arguments, zelHome);
    appendDefault(L"-application", lookupProperty(L"application", zelInstallArray), arguments);
    appendPluginCustomization(zelInstallArray, arguments);
    const SourcedText* product = lookupProperty(L"product", zelLauncherArray);
    appendDefault(L"-product", product != nullptr ? product : lookupProperty(L"product", zelInstallArray),
                  arguments);
    appendDefault(L"-personality", lookupProperty(L"personality", zelInstallArray), arguments);
}

void appendStartupArgument(const PropertyList& zelInstallArray, const Arguments& arguments) {
    explainSection("startup");
    appendArgument(L"-startup");
    if (const SourcedText* jar = argumentAfter(L"-perfJar", arguments)) {
        appendArgument(*jar, Quoting::quoted);
        return;
    }
    const SourcedText* location = lookupProperty(L"zel.base.location", zelInstallArray);
    SourcedText jar = (location != nullptr ? *location : SourcedText()) + L"/launcher.jar";
    takeSourceOfReading(jar);
    appendArgument(jar, Quoting::quoted);
}

void appendVmArguments(const std::wstring& dataDirectory, const PropertyList& zelInstallArray,
                       const Arguments& arguments, bool vmIsLibrary, const VmargOverrides& overrides) {
    explainSection("JVM arguments");
    if (!isDirectJavaStart()) {
        appendArgument(L"-vmargs");
    }
    appendUserVmArguments(arguments);
    // A restarted platform has no console, whatever its arguments say.
    if (!vmIsLibrary && (hasArgument(L"-restart", arguments) || !hasArgument(L"-console", arguments))) {
        appendNoConsoleFix(dataDirectory, zelInstallArray);
    }
    for (const auto& [key, option] : overrides) {
        if (!option.empty()) {
            appendArgument(option, Quoting::quoted);
        }
    }
}

}  // namespace zellauncher
