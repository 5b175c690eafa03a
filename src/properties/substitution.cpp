#include "properties/substitution.h"

#include <algorithm>
#include <cstdint>
#include <optional>

#include "foundation/environment.h"
#include "foundation/log_channel.h"
#include "foundation/paths.h"

namespace zellauncher {

namespace {

// After this many replacements in a row at the same place or further right, the text expands to itself.
constexpr int stuckLimit = 10;
// Bounds against texts that grow without end. They hold for all texts of one pass together, because a
// few values that name each other could fill the memory.
constexpr int detourLimit = 10000;
constexpr std::size_t growthLimit = 4000000;
// Longer debug lines are dropped, so they are not assembled at all.
constexpr std::size_t debugTextLimit = 4000;

constexpr std::wstring_view environmentPrefix = L"env.";
constexpr std::wstring_view propertyPrefix = L"prop.";

// What remains of the bounds in this pass.
struct Allowance {
    int detours = detourLimit;         // replacements that do not move the scan to the left
    std::size_t growth = growthLimit;  // characters
};

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

// If the variable is not set, the text after the first comma replaces it.
std::optional<std::wstring> resolveEnvironment(const std::wstring& name) {
    const std::size_t comma = name.find(L',');
    const std::wstring variable = name.substr(0, comma).substr(environmentPrefix.size());
    if (std::optional<std::wstring> value = getEnvironmentVariable(variable)) {
        return value;
    }
    return comma == std::wstring::npos ? std::nullopt : std::optional(name.substr(comma + 1));
}

// A text during the scan. `ahead` is what the scan still looks at, including the character after its
// position; `passed` is the rest, in reverse. A replacement moves nothing else, so the cost is linear.
struct ScannedText {
    std::wstring ahead;
    std::wstring passed;
};

std::size_t lengthOf(const ScannedText& text) {
    return text.ahead.size() + text.passed.size();
}

std::wstring wholeOf(const ScannedText& text) {
    std::wstring whole = text.ahead;
    whole.append(text.passed.rbegin(), text.passed.rend());
    return whole;
}

void passFrom(ScannedText& text, std::size_t index) {
    while (text.ahead.size() > index) {
        text.passed += text.ahead.back();
        text.ahead.pop_back();
    }
}

// Returns the index of the replacement's last character.
std::ptrdiff_t replaceAhead(ScannedText& text, const Token& token, const std::wstring& replacement) {
    passFrom(text, token.start + token.length);
    text.ahead.resize(token.start);
    text.ahead += replacement;
    const std::ptrdiff_t last = static_cast<std::ptrdiff_t>(text.ahead.size()) - 1;
    if (!text.passed.empty()) {
        text.ahead += text.passed.back();
        text.passed.pop_back();
    }
    return last;
}

// The text for the debug line; nothing if the line would be dropped.
std::optional<std::wstring> textForLog(const ScannedText& text) {
    if (!isLogDebug() || lengthOf(text) >= debugTextLimit) {
        return std::nullopt;
    }
    return wholeOf(text);
}

struct Progress {
    std::ptrdiff_t lastStart = PTRDIFF_MAX;
    int stuck = 0;
    std::ptrdiff_t leftmost = PTRDIFF_MAX;
};

bool isStuck(Progress& progress, std::ptrdiff_t start) {
    progress.stuck = start < progress.lastStart ? 0 : progress.stuck + 1;
    progress.lastStart = start;
    return progress.stuck == stuckLimit;
}

// Charges a replacement that does not move the scan to the left. False once the allowance is used up.
bool takeDetour(Progress& progress, std::ptrdiff_t start, Allowance& allowance) {
    if (start < progress.leftmost) {
        progress.leftmost = start;
        return true;
    }
    return --allowance.detours > 0;
}

// Scans from right to left, but scans each replacement again.
bool replaceTokens(ScannedText& text, const PropertyList& list, Allowance& allowance) {
    const std::size_t lengthLimit = lengthOf(text) + allowance.growth;
    std::ptrdiff_t position = static_cast<std::ptrdiff_t>(lengthOf(text)) - 1;
    Progress progress;
    bool isResolved = true;
    while (true) {
        const std::optional<Token> token = findLastToken(text.ahead, position);
        if (!token) {
            return isResolved;
        }
        const auto start = static_cast<std::ptrdiff_t>(token->start);
        const std::optional<std::wstring> former = textForLog(text);
        const Resolution resolution = resolveToken(token->name, list);
        isResolved = resolution.isResolved && isResolved;
        position = replaceAhead(text, *token, resolution.replacement);
        if (const std::optional<std::wstring> changed = textForLog(text); former && changed) {
            logDebugF(L"ZLNCH0071I: Modified prop_contents %s", *former + L" => " + *changed);
        }
        if (!takeDetour(progress, start, allowance) || lengthOf(text) > lengthLimit) {
            logDebug("ZELLauncher> a property text expands without end");
            return false;
        }
        if (isStuck(progress, start) || (!isResolved && start == 0)) {
            return false;
        }
        if (!isResolved) {
            position = start - 1;
            passFrom(text, token->start + 1);
        }
    }
}

// Scans one text and charges its growth to the allowance.
bool substituteWithin(std::wstring& text, const PropertyList& list, Allowance& allowance) {
    const std::size_t formerLength = text.size();
    ScannedText scanned{text, {}};
    const bool isResolved = replaceTokens(scanned, list, allowance);
    text = wholeOf(scanned);
    allowance.growth -= std::min(allowance.growth, text.size() - std::min(text.size(), formerLength));
    return isResolved;
}

void substituteValue(std::wstring& value, const Directories& directories, const PropertyList& list,
                     Allowance& allowance) {
    std::wstring text = value;
    replaceLocationTokens(directories.data, directories.home, text);
    if (!substituteWithin(text, list, allowance)) {
        logFatalF("ZLNCH0088E: property substitution is invalid (%ls)", text);
    }
    value = text;
}

}  // namespace

bool replaceLocationTokens(const std::wstring& dataDirectory, const std::wstring& homeDirectory,
                           std::wstring& text) {
    const bool hasHome = replaceToken(text, L"${zel.home}", homeDirectory);
    const bool hasWorkspace = replaceToken(text, L"${workspace.location}", dataDirectory);
    const bool hasData = replaceToken(text, L"${zel.data}", dataDirectory);
    return hasHome || hasWorkspace || hasData;
}

std::optional<Token> findLastToken(const std::wstring& text, std::ptrdiff_t position) {
    if (text.size() < 2 || position < 0) {
        return std::nullopt;
    }
    const auto last = static_cast<std::size_t>(position);
    Token token;
    token.start = text.rfind(L"${", std::min(text.size() - 2, last));
    if (token.start == std::wstring::npos) {
        return std::nullopt;
    }
    std::size_t close = text.find(L'}', token.start);
    if (close == std::wstring::npos || close > last) {
        close = last;
    }
    token.length = close - token.start + 1;
    token.name = token.length >= 3 ? text.substr(token.start + 2, token.length - 3) : std::wstring();
    return token;
}

Resolution resolveToken(const std::wstring& name, const PropertyList& list) {
    if (name.starts_with(environmentPrefix)) {
        if (const std::optional<std::wstring> value = resolveEnvironment(name)) {
            return {*value, true};
        }
    } else if (name.starts_with(propertyPrefix)) {
        if (const std::wstring* value = lookupProperty(name.substr(propertyPrefix.size()), list)) {
            return {*value, true};
        }
    }
    return {L"${" + name + L"}", false};
}

bool substituteProperties(std::wstring& text, const PropertyList& list) {
    Allowance allowance;
    return substituteWithin(text, list, allowance);
}

void substitutePropertyList(const std::wstring& dataDirectory, const std::wstring& homeDirectory,
                            PropertyList& list) {
    const Directories directories = directoriesWithForwardSlashes(dataDirectory, homeDirectory);
    Allowance allowance;
    for (PropertyEntry& entry : list) {
        substituteValue(entry.value, directories, list, allowance);
    }
}

void substituteVmArguments(const std::wstring& dataDirectory, const std::wstring& homeDirectory,
                           const PropertyList& list, VmargOverrides& overrides) {
    const Directories directories = directoriesWithForwardSlashes(dataDirectory, homeDirectory);
    Allowance allowance;
    for (auto& [key, value] : overrides) {
        substituteValue(value, directories, list, allowance);
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
