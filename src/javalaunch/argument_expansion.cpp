#include "javalaunch/argument_expansion.h"

#include <cstddef>
#include <cstdint>
#include <optional>

#include "foundation/file_tests.h"
#include "foundation/formatter.h"
#include "foundation/paths.h"
#include "launch/launch_state.h"

namespace zellauncher {

namespace {

// An engineer's debug marker asks for these, in this order, directly behind the program.
constexpr const wchar_t* debugOptions[] = {L"-debugFile", L"-pb4l", L"-debug", L"-console"};

void lookForDebugMarker(const std::wstring& zelHome) {
    provDebugFile = zelHome + L"\\zel\\prov.debug\\debug.txt";
    toBackslashes(provDebugFile);
    provDebugHold = fileExists(provDebugFile);
}

void insertDebugOptions(Arguments& words) {
    const std::ptrdiff_t behindProgram = words.empty() ? 0 : 1;
    words.insert(words.begin() + behindProgram, std::begin(debugOptions), std::end(debugOptions));
}

// Without a configuration the words stand as they are, but for the debug marker's options; the
// user's own copy of one of them goes.
void expandPlainly(Arguments& words, const std::wstring& zelHome) {
    lookForDebugMarker(zelHome);
    if (!provDebugHold) {
        return;
    }
    insertDebugOptions(words);
    removeSecondOccurrence(words, L"-console");
    removeSecondOccurrence(words, L"-debug");
    removeSecondOccurrence(words, L"-pb4l");
}

// Where configured words go: in front of the user's last `-vmargs`. The place is counted as if
// `-config` and its name stood in front of it, also when they stand behind; configurations in the
// field were written with that.
std::optional<std::size_t> insertionIndex(std::size_t position) {
    return position >= 2 ? std::optional<std::size_t>(position - 2) : std::nullopt;
}

// The words but `-config` and its name; `index` is where configured words go, if the user's words
// settle it.
Arguments withoutConfiguration(const Arguments& arguments, std::size_t config,
                               std::optional<std::size_t>& index) {
    Arguments words;
    for (std::size_t i = 0; i < arguments.size(); ++i) {
        if (i == config || i == config + 1) {
            continue;
        }
        if (arguments[i] == L"-vmargs") {
            index = insertionIndex(i);
        }
        words.push_back(arguments[i]);
    }
    return words;
}

// Splices `config.<name>.1`, `.2`, ... in. A configured `-vmargs` is the boundary between platform
// arguments and JVM arguments: it stands for the user's own, and what follows goes to the end.
void insertConfiguredWords(Arguments& words, const std::wstring& name, std::optional<std::size_t> index,
                           const PropertyList& zelLauncherArray) {
    bool isBehindBoundary = false;
    for (std::int64_t n = 1;; ++n) {
        const std::wstring* value =
            lookupProperty(L"config." + name + formatText(L".%d", {n}), zelLauncherArray);
        if (value == nullptr) {
            return;
        }
        if (value->empty()) {
            continue;
        }
        if (index && *value == L"-vmargs") {
            isBehindBoundary = true;
        } else if (!index || isBehindBoundary) {
            words.push_back(*value);
        } else {
            words.insert(words.begin() + static_cast<std::ptrdiff_t>(*index), *value);
            ++*index;
        }
    }
}

// The first occurrence wins, so a word that the user gave in front of the configured ones beats
// them. The value of an option that goes stays as a word of its own.
void removeRepeatedWords(Arguments& words) {
    constexpr const wchar_t* onceOnly[] = {L"-vm",          L"-data",    L"-plugincustomization",
                                           L"-application", L"-product", L"-personality",
                                           L"-product",     L"-nl",      L"-dir",
                                           L"-console",     L"-debug",   L"-pb4l"};
    for (const wchar_t* word : onceOnly) {
        removeSecondOccurrence(words, word);
    }
}

void storeDataDirectory(const Arguments& words, PropertyList& zelLauncherArray) {
    const int data = findArgumentIndex(L"-data", words);
    if (data >= 0 && static_cast<std::size_t>(data) + 1 < words.size()) {
        setPropertyValue(L"zel.data", words[static_cast<std::size_t>(data) + 1], zelLauncherArray);
    }
}

}  // namespace

void expandConfiguredArguments(Arguments& effectiveArgs, const Arguments& arguments,
                               PropertyList& zelLauncherArray, VmargOverrides& overrides,
                               const std::wstring& zelHome) {
    Arguments words;
    collectVmArguments(overrides, arguments, words);
    const int config = findArgumentIndex(L"-config", arguments);
    const bool isExpanded = config >= 0 && static_cast<std::size_t>(config) + 1 < arguments.size();
    if (!isExpanded) {
        expandPlainly(words, zelHome);
        effectiveArgs = words;
        return;
    }
    const std::size_t position = static_cast<std::size_t>(config);
    std::optional<std::size_t> index;
    words = withoutConfiguration(arguments, position, index);
    insertConfiguredWords(words, arguments[position + 1], index, zelLauncherArray);
    if (provDebugHold) {
        insertDebugOptions(words);
    }
    removeRepeatedWords(words);
    storeDataDirectory(words, zelLauncherArray);
    collectVmWords(overrides, words);
    effectiveArgs = words;
}

}  // namespace zellauncher
