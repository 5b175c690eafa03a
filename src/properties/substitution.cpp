#include "properties/substitution.h"

#include <cstddef>
#include <string_view>

#include "foundation/log_channel.h"
#include "foundation/paths.h"
#include "properties/token_scan.h"

namespace zellauncher {

namespace {

struct Directories {
    std::wstring data;
    std::wstring home;
};

Directories directoriesWithForwardSlashes(const std::wstring& dataDirectory,
                                          const std::wstring& homeDirectory) {
    return {withForwardSlashes(dataDirectory), withForwardSlashes(homeDirectory)};
}

// Replaces every occurrence, also one that a replacement completes together with the text around it. Only
// a brace of the original text closes a token, so a directory that contains its own token is inserted
// once.
bool replaceToken(std::wstring& text, std::wstring_view token, const std::wstring& directory) {
    if (text.find(token) == std::wstring::npos) {
        return false;
    }
    std::wstring result;
    for (const wchar_t unit : text) {
        result += unit;
        if (unit == token.back() && result.ends_with(token)) {
            result.replace(result.size() - token.size(), token.size(), directory);
        }
    }
    text = result;
    return true;
}

std::wstring substitutedValue(const std::wstring& value, const Directories& directories,
                              const PropertyList& list, Expansions& known) {
    std::wstring text = value;
    replaceLocationTokens(directories.data, directories.home, text);
    if (!replaceTokens(text, list, known)) {
        logFatalF("ZLNCH0088E: property substitution is invalid (%ls)", text);
    }
    return text;
}

}  // namespace

bool replaceLocationTokens(const std::wstring& dataDirectory, const std::wstring& homeDirectory,
                           std::wstring& text) {
    const bool hasHome = replaceToken(text, L"${zel.home}", homeDirectory);
    const bool hasWorkspace = replaceToken(text, L"${workspace.location}", dataDirectory);
    const bool hasData = replaceToken(text, L"${zel.data}", dataDirectory);
    return hasHome || hasWorkspace || hasData;
}

bool substituteProperties(std::wstring& text, const PropertyList& list) {
    Expansions known;
    return replaceTokens(text, list, known);
}

void substitutePropertyList(const std::wstring& dataDirectory, const std::wstring& homeDirectory,
                            PropertyList& list) {
    const Directories directories = directoriesWithForwardSlashes(dataDirectory, homeDirectory);
    Expansions known;
    for (std::size_t i = 0; i < list.size(); ++i) {
        const std::wstring former = list.valueAt(i);
        const std::wstring value = substitutedValue(former, directories, list, known);
        if (value != former) {
            list.setValue(i, value);
        }
        known.setFinalProperties(i + 1);
    }
}

void substituteVmArguments(const std::wstring& dataDirectory, const std::wstring& homeDirectory,
                           const PropertyList& list, VmargOverrides& overrides) {
    const Directories directories = directoriesWithForwardSlashes(dataDirectory, homeDirectory);
    Expansions known;
    for (auto& [key, value] : overrides) {
        std::wstring& text = value;  // keeps its source
        text = substitutedValue(text, directories, list, known);
    }
}

void substituteArguments(const std::wstring& dataDirectory, const std::wstring& homeDirectory,
                         Arguments& arguments) {
    const Directories directories = directoriesWithForwardSlashes(dataDirectory, homeDirectory);
    for (std::wstring& argument : arguments) {
        replaceLocationTokens(directories.data, directories.home, argument);
    }
}

void prefixJavaHomeEntries(std::wstring& text) {
    const std::size_t length = text.size();
    text += L';';
    toForwardSlashes(text);
    std::wstring result;
    std::size_t start = 0;
    do {
        const std::size_t end = text.find(L';', start);
        const std::wstring entry = text.substr(start, end - start);
        if (entry.size() != 1) {
            if (entry.find(L"${prop.java.home}") == std::wstring::npos) {
                result += L"${prop.java.home}/";
            }
            result += entry;
            if (end + 1 < length) {
                result += L';';
            }
        }
        // Required oddity: adds the absolute index to the old start, so the third entry and later ones can
        // be lost.
        start = start + 1 + end;
    } while (start < length);
    text = result;
}

}  // namespace zellauncher
