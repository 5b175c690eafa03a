#include "javalaunch/jvm_executable.h"

#include <cstddef>

#include "configuration/install_kind.h"
#include "foundation/explanation.h"
#include "foundation/file_queries.h"
#include "foundation/log_channel.h"
#include "javalaunch/launch_command.h"
#include "properties/lookup_explanation.h"

namespace zellauncher {

PROCESS_WIDE bool waitForPlatform = false;

namespace {

struct NamePair {
    const wchar_t* windowed;
    const wchar_t* console;
};

constexpr NamePair vmNames[] = {
    {L"javaw.exe", L"java.exe"}, {L"k7w.exe", L"k7.exe"}, {L"navarinw.exe", L"navarin.exe"}};

// Path of the JVM, or null. Points into the arguments or the list.
const SourcedText* selectedVm(const PropertyList& zelInstallArray, const Arguments& arguments) {
    if (!hasArgument(L"-vm", arguments)) {
        return lookupProperty(L"vm", zelInstallArray);
    }
    const SourcedText* argument = argumentAfter(L"-vm", arguments);
    if (argument == nullptr || argument->empty()) {
        logFatal("ZLNCH0002E: vm must be specified with -vm argument!");
    }
    explainOverridden(L"vm", zelInstallArray);
    return argument;
}

// Required oddity: for a value one character shorter than the ending, both sides are npos, so the result
// is true.
bool hasLibraryEnding(const std::wstring& vm, const std::wstring& ending) {
    return vm.rfind(ending) == vm.size() - ending.size();
}

bool isLibrary(const std::wstring& vm) {
    return hasLibraryEnding(vm, L".ee") || hasLibraryEnding(vm, L".dll");
}

bool isConsoleWanted(const Arguments& arguments) {
    return hasArgument(L"-console", arguments) || hasArgument(L"-consoleLog", arguments);
}

void useConsoleName(std::wstring& vm) {
    for (const NamePair& name : vmNames) {
        if (replaceVmNameChecked(vm, name.windowed, name.console)) {
            return;
        }
    }
}

// An install may rename the JVM's executables.
void useCustomNames(std::wstring& vm, const PropertyList& zelLauncherArray) {
    if (const std::wstring* name = lookupProperty(L"java.exe.name.win32", zelLauncherArray)) {
        for (const NamePair& known : vmNames) {
            if (replaceVmName(vm, known.console, *name)) {
                break;
            }
        }
    }
    if (const std::wstring* name = lookupProperty(L"javaw.exe.name.win32", zelLauncherArray)) {
        for (const NamePair& known : vmNames) {
            if (replaceVmName(vm, known.windowed, *name)) {
                break;
            }
        }
    }
}

std::wstring withReplacedEnding(const std::wstring& vm, const std::wstring& name,
                                const std::wstring& replacement) {
    return vm.substr(0, vm.size() - name.size()) + replacement;
}

void writeVm(const SourcedText& vm) {
    if (isDirectJavaStart()) {
        setCommandProgram(vm);
    } else {
        appendArgument(withSourceOf(vm, L"-vm"));
        appendArgument(vm, Quoting::quoted);
    }
}

}  // namespace

bool appendVmSelection(const PropertyList& zelInstallArray, const PropertyList& zelLauncherArray,
                       const Arguments& arguments) {
    if (hasArgument(L"-zelLauncherWait", arguments)) {
        waitForPlatform = true;
    }
    explainSection("JVM");
    Decision executable(Subject::jvmExecutable);
    const SourcedText* selected = selectedVm(zelInstallArray, arguments);
    if (selected == nullptr) {
        return false;
    }
    SourcedText vm = *selected;
    const bool vmIsLibrary = isLibrary(vm);
    if (!vmIsLibrary) {
        if (isConsoleWanted(arguments)) {
            useConsoleName(vm);
        }
        useCustomNames(vm, zelLauncherArray);
    }
    executable.made(vm);
    writeVm(vm);
    return vmIsLibrary;
}

bool replaceVmNameChecked(std::wstring& vm, const std::wstring& name, const std::wstring& replacement) {
    if (!vm.ends_with(name)) {
        return false;
    }
    const std::wstring replaced = withReplacedEnding(vm, name, replacement);
    if (!fileExists(replaced)) {
        logFatalF("ZLNCH0003E: Specified vm (%ls) does not exist!", replaced);
    }
    vm = replaced;
    return true;
}

bool replaceVmName(std::wstring& vm, const std::wstring& name, const std::wstring& replacement) {
    if (replacement.empty() || !vm.ends_with(name)) {
        return false;
    }
    const std::wstring replaced = withReplacedEnding(vm, name, replacement);
    if (!fileExists(replaced)) {
        return false;
    }
    vm = replaced;
    return true;
}

}  // namespace zellauncher
