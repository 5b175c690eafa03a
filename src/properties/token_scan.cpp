#include "properties/token_scan.h"

#include <algorithm>
#include <string_view>

#include "foundation/environment.h"
#include "foundation/log_channel.h"

namespace zellauncher {

namespace {

// After this many replacements in a row at the same place or further right, the text expands to itself.
constexpr int stuckLimit = 10;
// What remains of a text that grows too long, because the log gets it.
constexpr std::size_t keptOfOverlongText = 4'000'000;
// Longer debug lines are dropped, so they are not assembled at all.
constexpr std::size_t debugTextLimit = 4000;

constexpr std::wstring_view environmentPrefix = L"env.";
constexpr std::wstring_view propertyPrefix = L"prop.";

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

std::wstring partOf(const ScannedText& text, std::size_t begin, std::size_t end) {
    if (end <= text.ahead.size()) {
        return text.ahead.substr(begin, end - begin);
    }
    std::wstring part = text.ahead.substr(begin);
    part.append(text.passed.rbegin(),
                text.passed.rbegin() + static_cast<std::ptrdiff_t>(end - text.ahead.size()));
    return part;
}

void passFrom(ScannedText& text, std::size_t index) {
    while (text.ahead.size() > index) {
        text.passed += text.ahead.back();
        text.ahead.pop_back();
    }
}

void replaceAhead(ScannedText& text, const Token& token, const std::wstring& replacement) {
    passFrom(text, token.start + token.length);
    text.ahead.resize(token.start);
    text.ahead += replacement;
    if (!text.passed.empty()) {
        text.ahead += text.passed.back();
        text.passed.pop_back();
    }
}

class TokenScan {
public:
    TokenScan(const std::wstring& original, const PropertyList& properties, Expansions& expansions)
        : text{original, {}},
          list(properties),
          known(expansions),
          formerLength(original.size()),
          position(static_cast<std::ptrdiff_t>(original.size()) - 1) {}

    bool run();
    std::wstring result() const;
    std::size_t growth() const { return lengthOf(text) - std::min(lengthOf(text), formerLength); }

private:
    bool replace(const Token& token);
    bool expand(const Token& token, const Resolution& resolution);
    bool insertExpansion(const Token& token, const std::wstring& name);
    void insertAndPass(const Token& token, const std::wstring& replacement);
    void countReplacement(std::size_t start);
    void closeValuesAfter(std::ptrdiff_t start);
    std::wstring nameOfExpansion(const Token& token) const;
    bool isTooLong() const { return growth() > known.growthOfNextText(); }
    std::optional<std::wstring> textForLog() const;

    ScannedText text;
    const PropertyList& list;
    Expansions& known;
    OpenExpansions open;
    std::size_t formerLength;
    std::ptrdiff_t position;
    std::ptrdiff_t lastStart = PTRDIFF_MAX;
    int stuck = 0;
    bool isResolved = true;
};

bool TokenScan::run() {
    while (const std::optional<Token> token = findLastToken(text.ahead, position)) {
        closeValuesAfter(static_cast<std::ptrdiff_t>(token->start));
        if (!replace(*token)) {
            return false;
        }
    }
    closeValuesAfter(-1);
    return isResolved;
}

// False if the scan ends here because the text is invalid.
bool TokenScan::replace(const Token& token) {
    const std::optional<std::wstring> former = textForLog();
    const Resolution resolution = resolveToken(token.name, list);
    isResolved = resolution.isResolved && isResolved;
    countReplacement(token.start);
    bool isEndless = false;
    if (isResolved) {
        isEndless = !expand(token, resolution);
    } else {
        insertAndPass(token, resolution.replacement);
    }
    if (const std::optional<std::wstring> changed = textForLog(); former && changed) {
        logDebugF(L"ZLNCH0071I: Modified prop_contents %s", *former + L" => " + *changed);
        known.countLoggedReplacement();
    }
    if (isEndless || isTooLong()) {
        logDebug("ZELLauncher> a property text expands without end");
        return false;
    }
    return stuck < stuckLimit && (isResolved || token.start > 0);
}

// The replacement is scanned next. False if it would be for ever.
bool TokenScan::expand(const Token& token, const Resolution& resolution) {
    const std::wstring& value = resolution.replacement;
    const bool mayHaveTokens = value.find(L'$') != std::wstring::npos;
    const std::wstring name = mayHaveTokens ? nameOfExpansion(token) : std::wstring();
    if (mayHaveTokens && insertExpansion(token, name)) {
        return true;
    }
    replaceAhead(text, token, value);
    const std::size_t end = token.start + value.size();
    position = static_cast<std::ptrdiff_t>(end) - 1;
    return !mayHaveTokens || open.open(name, token.start, lengthOf(text) - end, resolution.property, known);
}

// Takes the value as an earlier scan left it, if that is known and has the same outcome.
bool TokenScan::insertExpansion(const Token& token, const std::wstring& name) {
    const Expansion* expansion = known.find(name);
    const bool isLogged = textForLog().has_value() && known.areReplacementsLogged();
    if (expansion == nullptr || isLogged || stuck + expansion->replacementsBeforeMove >= stuckLimit) {
        return false;
    }
    open.addReplacements(expansion->replacementsBeforeMove);
    open.addProperty(expansion->firstProperty, known);
    replaceAhead(text, token, expansion->text);
    position = static_cast<std::ptrdiff_t>(token.start) + expansion->position;
    passFrom(text, static_cast<std::size_t>(position + 2));
    return true;
}

// After a token without a value, nothing is scanned again.
void TokenScan::insertAndPass(const Token& token, const std::wstring& replacement) {
    open.clear();
    replaceAhead(text, token, replacement);
    position = static_cast<std::ptrdiff_t>(token.start) - 1;
    passFrom(text, token.start + 1);
}

void TokenScan::countReplacement(std::size_t start) {
    const auto newStart = static_cast<std::ptrdiff_t>(start);
    if (newStart < lastStart) {
        stuck = 0;
        open.moveLeft();
    } else {
        ++stuck;
        open.addReplacements(1);
    }
    lastStart = newStart;
}

// A value is done when the next token begins to the left of it.
void TokenScan::closeValuesAfter(std::ptrdiff_t start) {
    while (!open.empty() && static_cast<std::ptrdiff_t>(open.innermostStart()) > start) {
        const std::size_t begin = open.innermostStart();
        const std::size_t end = lengthOf(text) - open.charactersAfter();
        open.close(partOf(text, begin, end), position - static_cast<std::ptrdiff_t>(begin), known);
    }
}

// The scan of a value depends on nothing around it except a brace after it, which can make its last
// character the beginning of a token.
std::wstring TokenScan::nameOfExpansion(const Token& token) const {
    const std::size_t end = token.start + token.length;
    const bool isBeforeBrace = end < text.ahead.size() && text.ahead[end] == L'{';
    return (isBeforeBrace ? L'{' : L' ') + token.name;
}

// The text for the debug line; nothing if the line would be dropped.
std::optional<std::wstring> TokenScan::textForLog() const {
    if (!isLogDebug() || lengthOf(text) >= debugTextLimit) {
        return std::nullopt;
    }
    return partOf(text, 0, lengthOf(text));
}

std::wstring TokenScan::result() const {
    const std::size_t length = lengthOf(text);
    return partOf(text, 0, isTooLong() ? std::min(length, keptOfOverlongText) : length);
}

}  // namespace

std::optional<Token> findLastToken(const std::wstring& text, std::ptrdiff_t position) {
    if (position < 0) {
        return std::nullopt;
    }
    const auto last = static_cast<std::size_t>(position);
    Token token;
    token.start = text.rfind(L"${", last);
    if (token.start == std::wstring::npos) {
        return std::nullopt;
    }
    const std::size_t close = std::min(text.find(L'}', token.start), last);
    token.length = close - token.start + 1;
    token.name = text.substr(token.start + 2, std::max(token.length, std::size_t{3}) - 3);
    return token;
}

Resolution resolveToken(const std::wstring& name, const PropertyList& list) {
    if (name.starts_with(environmentPrefix)) {
        if (const std::optional<std::wstring> value = resolveEnvironment(name)) {
            return {*value, true, SIZE_MAX};
        }
    } else if (name.starts_with(propertyPrefix)) {
        if (const auto property = findProperty(name.substr(propertyPrefix.size()), list)) {
            return {list.valueAt(*property), true, *property};
        }
    }
    return {L"${" + name + L"}", false, SIZE_MAX};
}

bool replaceTokens(std::wstring& text, const PropertyList& list, Expansions& known) {
    TokenScan scan(text, list, known);
    const bool isResolved = scan.run();
    text = scan.result();
    known.addGrowth(scan.growth());
    return isResolved;
}

}  // namespace zellauncher
