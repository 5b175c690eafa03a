#include "properties/substitution.h"

#include <algorithm>
#include <cstdint>
#include <optional>

#include "foundation/environment.h"
#include "foundation/log_channel.h"
#include "foundation/paths.h"

namespace zellauncher {

namespace {

// Replacements in a row that do not move the scan to the left: the text expands to itself.
constexpr int stuckLimit = 10;
// Bounds that no honest list reaches; past them a text would never end or grow for ever. They hold for
// all texts of one pass together, since a few words that name one another could fill the memory.
constexpr int detourLimit = 10000;
constexpr std::size_t growthLimit = 4000000;
// A debug line with more characters than this is dropped, so it is not worth being put together.
constexpr std::size_t debugTextLimit = 4000;

constexpr std::wstring_view environmentPrefix = L"env.";
constexpr std::wstring_view propertyPrefix = L"prop.";

// What is left of the bounds to the texts of a pass.
struct Allowance {
    int detours = detourLimit;         // replacements that bring the scan no further to the left
    std::size_t growth = growthLimit;  // characters
};

struct Directories {
    std::wstring data;
    std::wstring home;
};

Directories withForwardSlashes(const std::wstring& dataDirectory, const std::wstring& homeDirectory) {
    Directories directories{dataDirectory, homeDirectory};
    toForwardSlashes(directories.data);
    toForwardSlashes(directories.home);
    return directories;
}

// Replaces every occurrence, those too that a replacement makes together with what stands around it.
// Only a brace of the text itself closes a token, so a directory that holds its own token is put in
// once and no more.
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

// A variable that is not set gives way to the text behind the first comma, if there is one.
bool resolveEnvironment(const std::wstring& name, std::wstring& replacement) {
    const std::size_t comma = name.find(L',');
    const std::wstring variable = name.substr(0, comma).substr(environmentPrefix.size());
    if (getEnvironmentVariable(variable, replacement) != nullptr) {
        return true;
    }
    if (comma == std::wstring::npos) {
        return false;
    }
    replacement = name.substr(comma + 1);
    return true;
}

// A text while it is scanned: what the scan still looks at, with the one character behind its
// position, and what lies further to the right, last character first. So a replacement moves nothing
// but what it replaces, and a long text costs no more than its length.
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
std::ptrdiff_t replaceAhead(ScannedText& text, std::size_t start, std::size_t length,
                            const std::wstring& replacement) {
    passFrom(text, start + length);
    text.ahead.resize(start);
    text.ahead += replacement;
    const std::ptrdiff_t last = static_cast<std::ptrdiff_t>(text.ahead.size()) - 1;
    if (!text.passed.empty()) {
        text.ahead += text.passed.back();
        text.passed.pop_back();
    }
    return last;
}

// The text for the debug line, or nothing when that would be dropped.
std::optional<std::wstring> textForLog(const ScannedText& text) {
    if (!isLogDebug() || lengthOf(text) >= debugTextLimit) {
        return std::nullopt;
    }
    return wholeOf(text);
}

// How the scan gets on with moving to the left.
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

// Takes a replacement that brings the scan no further to the left from the allowance; false when that
// is used up.
bool takeDetour(Progress& progress, std::ptrdiff_t start, Allowance& allowance) {
    if (start < progress.leftmost) {
        progress.leftmost = start;
        return true;
    }
    return --allowance.detours > 0;
}

// The scan itself. It goes from right to left, but looks at each replacement again.
bool replaceTokens(ScannedText& text, const PropertyList& list, Allowance& allowance) {
    const std::size_t lengthLimit = lengthOf(text) + allowance.growth;
    std::ptrdiff_t position = static_cast<std::ptrdiff_t>(lengthOf(text)) - 1;
    Progress progress;
    bool isResolved = true;
    while (true) {
        std::size_t length = 0;
        std::wstring name;
        const std::ptrdiff_t start = findLastToken(text.ahead, position, length, name);
        if (start < 0) {
            return isResolved;
        }
        const std::optional<std::wstring> former = textForLog(text);
        std::wstring replacement;
        isResolved = resolveToken(name, replacement, list) && isResolved;
        position = replaceAhead(text, static_cast<std::size_t>(start), length, replacement);
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
            passFrom(text, static_cast<std::size_t>(start) + 1);
        }
    }
}

// The scan on a text; what it gains is taken from the allowance.
bool substituteWithin(std::wstring& text, const PropertyList& list, Allowance& allowance) {
    const std::size_t formerLength = text.size();
    ScannedText scanned{text, {}};
    const bool isResolved = replaceTokens(scanned, list, allowance);
    text = wholeOf(scanned);
    allowance.growth -= std::min(allowance.growth, text.size() - std::min(text.size(), formerLength));
    return isResolved;
}

// Both mechanisms on one value.
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

std::ptrdiff_t findLastToken(const std::wstring& text, std::ptrdiff_t position, std::size_t& length,
                             std::wstring& name) {
    if (text.size() < 2 || position < 0) {
        return -1;
    }
    const std::size_t last = static_cast<std::size_t>(position);
    const std::size_t begin = text.rfind(L"${", std::min(text.size() - 2, last));
    if (begin == std::wstring::npos) {
        return -1;
    }
    std::size_t close = text.find(L'}', begin);
    if (close == std::wstring::npos || close > last) {
        close = last;
    }
    length = close - begin + 1;
    name = length >= 3 ? text.substr(begin + 2, length - 3) : std::wstring();
    return static_cast<std::ptrdiff_t>(begin);
}

bool resolveToken(const std::wstring& name, std::wstring& replacement, const PropertyList& list) {
    if (name.starts_with(environmentPrefix)) {
        if (resolveEnvironment(name, replacement)) {
            return true;
        }
    } else if (name.starts_with(propertyPrefix)) {
        if (const std::wstring* value = lookupProperty(name.substr(propertyPrefix.size()), list)) {
            replacement = *value;
            return true;
        }
    }
    replacement = L"${" + name + L"}";
    return false;
}

bool substituteProperties(std::wstring& text, const PropertyList& list) {
    Allowance allowance;
    return substituteWithin(text, list, allowance);
}

void substitutePropertyList(const std::wstring& dataDirectory, const std::wstring& homeDirectory,
                            PropertyList& list) {
    const Directories directories = withForwardSlashes(dataDirectory, homeDirectory);
    Allowance allowance;
    for (PropertyEntry& entry : list) {
        substituteValue(entry.value, directories, list, allowance);
    }
}

void substituteVmArguments(const std::wstring& dataDirectory, const std::wstring& homeDirectory,
                           const PropertyList& list, VmargOverrides& overrides) {
    const Directories directories = withForwardSlashes(dataDirectory, homeDirectory);
    Allowance allowance;
    for (auto& [key, value] : overrides) {
        substituteValue(value, directories, list, allowance);
    }
}

void substituteArguments(const std::wstring& dataDirectory, const std::wstring& homeDirectory,
                         Arguments& arguments) {
    const Directories directories = withForwardSlashes(dataDirectory, homeDirectory);
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
        const std::size_t end = text.find(L';', start);  // the one behind the text at the latest
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
        // The step adds the absolute index to the former start, so from the third entry on it lands
        // too far to the right. Installs are written with that in mind.
        start = start + 1 + end;
    } while (start < length);
    text = result;
}

}  // namespace zellauncher
