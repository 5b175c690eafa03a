#include "javalaunch/argument_expansion.h"

#include <cstddef>
#include <cstdint>
#include <optional>

#include "foundation/file_queries.h"
#include "foundation/formatter.h"
#include "foundation/paths.h"

namespace zellauncher {

PROCESS_WIDE std::wstring provDebugFile;
PROCESS_WIDE bool provDebugHold = false;

namespace {

// What the debug marker file inserts after the program, in this order.
constexpr const wchar_t* debugOptions[] = {L"-debugFile", L"-pb4l", L"-debug", L"-console"};

void lookForDebugMarker(const std::wstring& zelHome) {
    provDebugFile = withBackslashes(zelHome + L"\\zel\\prov.debug\\debug.txt");
    provDebugHold = fileExists(provDebugFile);
}

void insertDebugOptions(Arguments& arguments) {
    const std::ptrdiff_t afterProgram = arguments.empty() ? 0 : 1;
    arguments.insert(arguments.begin() + afterProgram, std::begin(debugOptions), std::end(debugOptions));
}

// Without `-config` the arguments stay unchanged, except for the options of the debug marker, which
// replace the user's own.
void expandPlainly(Arguments& arguments, const std::wstring& zelHome) {
    lookForDebugMarker(zelHome);
    if (!provDebugHold) {
        return;
    }
    insertDebugOptions(arguments);
    removeSecondOccurrence(arguments, L"-console");
    removeSecondOccurrence(arguments, L"-debug");
    removeSecondOccurrence(arguments, L"-pb4l");
}

// Where configured arguments go: before the user's last `-vmargs`. Required oddity: the index assumes
// that `-config` and its name come before `-vmargs`; if they come after it, the index is 2 too low.
std::optional<std::size_t> insertionIndex(std::size_t position) {
    return position >= 2 ? std::optional<std::size_t>(position - 2) : std::nullopt;
}

// The arguments without `-config` and its name. Sets `index` if the user gave `-vmargs`.
Arguments withoutConfiguration(const Arguments& arguments, std::size_t config,
                               std::optional<std::size_t>& index) {
    Arguments others;
    for (std::size_t i = 0; i < arguments.size(); ++i) {
        if (i == config || i == config + 1) {
            continue;
        }
        if (arguments[i] == L"-vmargs") {
            index = insertionIndex(i);
        }
        others.push_back(arguments[i]);
    }
    return others;
}

// Inserts the values of `config.<name>.1`, `.2`, ... If the user gave `-vmargs`, a configured `-vmargs` is
// only a boundary: what follows it belongs to the JVM and goes to the end.
void insertConfigured(Arguments& arguments, const std::wstring& name, std::optional<std::size_t> index,
                      const PropertyList& zelLauncherArray) {
    bool isAfterBoundary = false;
    for (std::int64_t n = 1;; ++n) {
        const SourcedText* value =
            lookupProperty(L"config." + name + formatText(L".%d", {n}), zelLauncherArray);
        if (value == nullptr) {
            return;
        }
        if (value->empty()) {
            continue;
        }
        if (index && *value == L"-vmargs") {
            isAfterBoundary = true;
        } else if (!index || isAfterBoundary) {
            arguments.push_back(*value);
        } else {
            arguments.insert(arguments.begin() + static_cast<std::ptrdiff_t>(*index), *value);
            ++*index;
        }
    }
}

// The first occurrence wins, so an argument that the user gave before the configured ones beats them.
// Required oddities: the value of a removed option stays, and `-product` is in the list twice, so that a
// third `-product` goes too.
void removeRepeatedOptions(Arguments& arguments) {
    constexpr const wchar_t* onceOnly[] = {L"-vm",          L"-data",    L"-plugincustomization",
                                           L"-application", L"-product", L"-personality",
                                           L"-product",     L"-nl",      L"-dir",
                                           L"-console",     L"-debug",   L"-pb4l"};
    for (const wchar_t* option : onceOnly) {
        removeSecondOccurrence(arguments, option);
    }
}

void storeDataDirectory(const Arguments& arguments, PropertyList& zelLauncherArray) {
    if (const SourcedText* directory = argumentAfter(L"-data", arguments)) {
        setPropertyValue(L"zel.data", *directory, zelLauncherArray);
    }
}

}  // namespace

Arguments expandConfiguredArguments(const Arguments& arguments, PropertyList& zelLauncherArray,
                                    VmargOverrides& overrides, const std::wstring& zelHome) {
    Arguments expanded = collectVmArguments(overrides, arguments);
    const std::wstring* name = argumentAfter(L"-config", arguments);
    if (name == nullptr) {
        expandPlainly(expanded, zelHome);
        return expanded;
    }
    const auto position = static_cast<std::size_t>(findArgumentIndex(L"-config", arguments));
    std::optional<std::size_t> index;
    expanded = withoutConfiguration(arguments, position, index);
    insertConfigured(expanded, *name, index, zelLauncherArray);
    // Required oddity: the marker file is not looked for here. The flag is set only on a first run, whose
    // arguments are expanded a second time.
    if (provDebugHold) {
        insertDebugOptions(expanded);
    }
    removeRepeatedOptions(expanded);
    storeDataDirectory(expanded, zelLauncherArray);
    collectVmWords(overrides, expanded);
    return expanded;
}

}  // namespace zellauncher
