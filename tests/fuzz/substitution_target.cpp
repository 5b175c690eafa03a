#include "properties/substitution.h"

#include <algorithm>
#include <optional>

#include "fuzz/allocation_account.h"
#include "fuzz/bench.h"
#include "fuzz/sections.h"
#include "fuzz/target.h"
#include "fuzz/text_lines.h"

// The input is a list of entries, an environment and texts. What the launcher's scan makes of a text must
// be what the rules make of it when they are followed literally, on one plain string, as long as that
// comes to an end within reason; and the launcher must come to its end in any case.
namespace fuzz {

namespace {

using zellauncher::PropertyList;

constexpr const wchar_t* home = L"C:/Apps/framework/Client";
constexpr const wchar_t* data = L"C:/Users/ann/work";

// What one text may grow by, and what all values of a list may grow by together, whatever they say; and
// how many such texts there are at one moment, the line about an invalid one included.
constexpr std::size_t bytesOfGrowth = sizeof(wchar_t) * 4'000'000;
constexpr std::size_t textsAtOnce = 10;
constexpr std::size_t mostReplacements = 10'000;

using Environment = std::vector<zellauncher::PropertyEntry>;

// The names of variables are compared without regard to case.
const std::wstring* variable(const std::wstring& name, const Environment& environment) {
    const auto same = [](wchar_t a, wchar_t b) { return (a | 0x20) == (b | 0x20); };
    for (auto entry = environment.rbegin(); entry != environment.rend(); ++entry) {
        if (std::equal(name.begin(), name.end(), entry->key.begin(), entry->key.end(), same)) {
            return &entry->value;
        }
    }
    return nullptr;
}

// The rules, literally. Nothing when the text takes too many steps or grows too long to go on.
class LiteralScan {
public:
    LiteralScan(const PropertyList& entries, const Environment& variables)
        : list(entries), environment(variables) {}

    std::optional<bool> substitute(std::wstring& text) const {
        constexpr int mostSteps = 300;
        constexpr std::size_t longestText = 20'000;
        std::ptrdiff_t position = static_cast<std::ptrdiff_t>(text.size()) - 1;
        std::ptrdiff_t lastStart = PTRDIFF_MAX;
        bool isResolved = true;
        int stuck = 0;
        for (int step = 0; step < mostSteps && text.size() <= longestText; ++step) {
            std::size_t length = 0;
            std::wstring name;
            const std::ptrdiff_t start = lastToken(text, position, length, name);
            if (start < 0) {
                return isResolved;
            }
            std::wstring replacement;
            isResolved = resolve(name, replacement) && isResolved;
            text.replace(static_cast<std::size_t>(start), length, replacement);
            position = start + static_cast<std::ptrdiff_t>(replacement.size()) - 1;
            stuck = start < lastStart ? 0 : stuck + 1;
            if (stuck == 10 || (!isResolved && start == 0)) {
                return false;
            }
            position = isResolved ? position : start - 1;
            lastStart = start;
        }
        return std::nullopt;
    }

private:
    static std::ptrdiff_t lastToken(const std::wstring& text, std::ptrdiff_t position, std::size_t& length,
                                    std::wstring& name) {
        std::ptrdiff_t i = std::min(static_cast<std::ptrdiff_t>(text.size()) - 2, position);
        while (i >= 0 && text.compare(static_cast<std::size_t>(i), 2, L"${") != 0) {
            --i;
        }
        if (i < 0) {
            return -1;
        }
        const std::size_t brace = text.find(L'}', static_cast<std::size_t>(i));
        const bool isBehind = brace == std::wstring::npos || brace > static_cast<std::size_t>(position);
        const std::ptrdiff_t close = isBehind ? position : static_cast<std::ptrdiff_t>(brace);
        length = static_cast<std::size_t>(close - i + 1);
        name = length < 3 ? L"" : text.substr(static_cast<std::size_t>(i) + 2, length - 3);
        return i;
    }

    bool resolve(const std::wstring& name, std::wstring& replacement) const {
        const std::wstring* value = nullptr;
        std::wstring other;
        if (name.compare(0, 4, L"env.") == 0) {
            const std::size_t comma = name.find(L',');
            value = variable(name.substr(4, comma == std::wstring::npos ? comma : comma - 4), environment);
            if (value == nullptr && comma != std::wstring::npos) {
                other = name.substr(comma + 1);
                value = &other;
            }
        } else if (name.compare(0, 5, L"prop.") == 0) {
            const auto found = std::find_if(list.begin(), list.end(),
                                            [&](const auto& entry) { return entry.key == name.substr(5); });
            value = found == list.end() ? nullptr : &found->value;
        }
        replacement = value == nullptr ? L"${" + name + L"}" : *value;
        return value != nullptr;
    }

    const PropertyList& list;
    const Environment& environment;
};

// Plain search and replace from the start. The directories hold no token, but what stands around a
// replaced one may make a new one with it.
bool replaceLiterally(std::wstring& text) {
    bool isReplaced = false;
    for (const auto& [token, directory] :
         {std::pair{L"${zel.home}", home}, {L"${workspace.location}", data}, {L"${zel.data}", data}}) {
        const std::wstring name = token;
        for (std::size_t at = text.find(name); at != std::wstring::npos; at = text.find(name)) {
            text.replace(at, name.size(), directory);
            isReplaced = true;
        }
    }
    return isReplaced;
}

struct Results {
    std::vector<std::wstring> texts;  // after the location tokens
    std::vector<bool> isReplaced;
    std::vector<std::wstring> substituted;
    std::vector<bool> isResolved;
    PropertyList list;  // after the pass over the whole list, if that came to its end
    bool isListValid = false;
};

void expectFollowsTheRules(const Results& results, const std::vector<std::wstring>& texts,
                           const PropertyList& list, const Environment& environment) {
    const LiteralScan scan(list, environment);
    for (std::size_t i = 0; i < texts.size(); ++i) {
        std::wstring text = texts[i];
        expect(replaceLiterally(text) == results.isReplaced[i], "location tokens are noticed");
        expect(text == results.texts[i], "location tokens are replaced: " + printable(results.texts[i]));
        const std::optional<bool> isResolved = scan.substitute(text);
        if (isResolved) {
            expect(*isResolved == results.isResolved[i], "a token is known: " + printable(texts[i]));
            expect(text == results.substituted[i], "the scan gives " + printable(results.substituted[i]) +
                                                       ", the rules give " + printable(text));
        }
        const bool hasToken = results.substituted[i].find(L"${") != std::wstring::npos;
        expect(!results.isResolved[i] || !hasToken, "a valid text holds no token");
    }
}

// The whole list in place, each value seen by those behind it; a false one ends the start.
void expectListFollowsTheRules(const Results& results, PropertyList list, const Environment& environment) {
    for (zellauncher::PropertyEntry& entry : list) {
        std::wstring text = entry.value;
        replaceLiterally(text);
        const std::optional<bool> isResolved = LiteralScan(list, environment).substitute(text);
        if (!isResolved) {
            return;
        }
        expect(*isResolved || !results.isListValid, "an invalid value ends the start");
        if (!*isResolved) {
            return;
        }
        entry.value = text;
    }
    expect(results.isListValid, "a valid list does not end the start");
    for (std::size_t i = 0; i < list.size(); ++i) {
        expect(results.list[i].value == list[i].value, "the list holds " + printable(list[i].value));
    }
}

}  // namespace

void runInput(const std::string& bytes) {
    Sections sections = readSections(bytes);
    const PropertyList list = entriesOf(sections["list"]);
    const Environment environment = entriesOf(sections["environment"]);
    std::vector<std::wstring> texts = wordsOf(sections["texts"]);
    constexpr std::size_t mostTexts = 4;
    texts.resize(std::min(texts.size(), mostTexts));

    Results results;
    results.list = list;
    const AllocationAccount account;
    {
        Bench bench;
        for (const char* known : {"TEMP", "HOMEDRIVE", "HOMEPATH", "USERNAME", "USERPROFILE", "PATH"}) {
            bench.machine.unsetEnvironment(std::wstring(known, known + std::string(known).size()));
        }
        for (const zellauncher::PropertyEntry& entry : environment) {
            bench.machine.setEnvironment(entry.key, entry.value);
        }
        const simulation::ProcessEnd end =
            bench
                .runQuietly([&] {
                    for (std::wstring text : texts) {
                        results.isReplaced.push_back(zellauncher::replaceLocationTokens(data, home, text));
                        results.texts.push_back(text);
                        results.isResolved.push_back(zellauncher::substituteProperties(text, list));
                        results.substituted.push_back(text);
                    }
                    zellauncher::substitutePropertyList(data, home, results.list);
                    results.isListValid = true;
                })
                .end;
        expect(end.status == (results.isListValid ? 0U : 0xFFFFFFFFU), "the start ends as the list asks");
        const std::size_t passes = texts.size() + 1;
        expect(bench.machine.operationCount() <= 100 + passes * 2 * (mostReplacements + bytes.size()),
               "replacements are bounded");
    }
    expect(
        account.peakBytes() <= 1'000'000 + 200 * bytes.size() + (texts.size() + textsAtOnce) * bytesOfGrowth,
        "memory is bounded: " + std::to_string(account.peakBytes()));
    expectFollowsTheRules(results, texts, list, environment);
    expectListFollowsTheRules(results, list, environment);
}

}  // namespace fuzz
