#include "properties/substitution.h"

#include <algorithm>
#include <optional>

#include "fuzz/input_sections.h"
#include "fuzz/launcher_runner.h"
#include "fuzz/peak_memory.h"
#include "fuzz/printable.h"
#include "fuzz/target.h"

// The input is a property list, an environment and texts. The launcher's scan must give the result of a
// literal implementation of the rules on one plain string, unless that one takes too many steps. The
// launcher must end in any case.
namespace fuzz {

namespace {

using zellauncher::PropertyList;

constexpr const wchar_t* home = L"C:/Apps/framework/Client";
constexpr const wchar_t* data = L"C:/Users/ann/work";

// The most by which one text may grow, and the number of such texts that exist at one moment, including the
// log line about an invalid one. All values of a list together may grow twice as much.
constexpr std::size_t bytesOfGrowth = sizeof(wchar_t) * 50'000'000;
constexpr std::size_t textsAtOnce = 10;
// A value is scanned again while it is open within itself, and once more before a brace.
constexpr std::size_t mostScansOfValue = 24;

using Environment = std::vector<zellauncher::PropertyEntry>;

// Names of variables are not case-sensitive.
const std::wstring* variable(const std::wstring& name, const Environment& environment) {
    const auto same = [](wchar_t a, wchar_t b) { return (a | 0x20) == (b | 0x20); };
    for (auto entry = environment.rbegin(); entry != environment.rend(); ++entry) {
        if (std::equal(name.begin(), name.end(), entry->key.begin(), entry->key.end(), same)) {
            return &entry->value;
        }
    }
    return nullptr;
}

// The literal implementation. Gives up, with nothing as the result, on too many steps or too long a text.
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
        const bool isAfterPosition =
            brace == std::wstring::npos || brace > static_cast<std::size_t>(position);
        const std::ptrdiff_t close = isAfterPosition ? position : static_cast<std::ptrdiff_t>(brace);
        length = static_cast<std::size_t>(close - i + 1);
        name = length < 3 ? L"" : text.substr(static_cast<std::size_t>(i) + 2, length - 3);
        return i;
    }

    bool resolve(const std::wstring& name, std::wstring& replacement) const {
        const std::wstring* value = nullptr;
        std::wstring defaultValue;
        if (name.compare(0, 4, L"env.") == 0) {
            const std::size_t comma = name.find(L',');
            value = variable(name.substr(4, comma == std::wstring::npos ? comma : comma - 4), environment);
            if (value == nullptr && comma != std::wstring::npos) {
                defaultValue = name.substr(comma + 1);
                value = &defaultValue;
            }
        } else if (name.compare(0, 5, L"prop.") == 0) {
            const auto found = std::find_if(list.begin(), list.end(),
                                            [&](const auto& entry) { return entry.key == name.substr(5); });
            if (found != list.end()) {
                defaultValue = found->value;
                value = &defaultValue;
            }
        }
        replacement = value == nullptr ? L"${" + name + L"}" : *value;
        return value != nullptr;
    }

    const PropertyList& list;
    const Environment& environment;
};

// Plain search and replace from the start. The directories contain no token, but the text around a replaced
// one may form a new one.
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
    std::vector<std::wstring> texts;  // with the location tokens replaced
    std::vector<bool> isReplaced;
    std::vector<std::wstring> substituted;
    std::vector<bool> isResolved;
    PropertyList list;  // after the substitution of the whole list, if that was not fatal
    bool isListValid = false;
};

void expectFollowsTheRules(const Results& results, const std::vector<std::wstring>& texts,
                           const PropertyList& list, const Environment& environment) {
    const LiteralScan scan(list, environment);
    for (std::size_t i = 0; i < texts.size(); ++i) {
        std::wstring text = texts[i];
        expect(replaceLiterally(text) == results.isReplaced[i], "replaced location tokens are reported");
        expect(text == results.texts[i], "location tokens are replaced: " + printable(results.texts[i]));
        const std::optional<bool> isResolved = scan.substitute(text);
        if (isResolved) {
            expect(*isResolved == results.isResolved[i],
                   "the result says whether all tokens are known: " + printable(texts[i]));
            expect(text == results.substituted[i], "the scan gives " + printable(results.substituted[i]) +
                                                       ", the rules give " + printable(text));
        }
        const bool hasToken = results.substituted[i].find(L"${") != std::wstring::npos;
        expect(!results.isResolved[i] || !hasToken, "a valid text has no token left");
    }
}

// The list is substituted in place, so later values see the new earlier ones. An invalid value is fatal.
void expectListFollowsTheRules(const Results& results, PropertyList list, const Environment& environment) {
    for (std::size_t i = 0; i < list.size(); ++i) {
        std::wstring text = list[i].value;
        replaceLiterally(text);
        const std::optional<bool> isResolved = LiteralScan(list, environment).substitute(text);
        if (!isResolved) {
            return;
        }
        expect(*isResolved || !results.isListValid, "an invalid value is fatal");
        if (!*isResolved) {
            return;
        }
        list.setValue(i, text);
    }
    expect(results.isListValid, "a valid list is not fatal");
    for (std::size_t i = 0; i < list.size(); ++i) {
        expect(results.list[i].value == list[i].value, "the list has the value " + printable(list[i].value));
    }
}

}  // namespace

void runInput(const std::string& bytes) {
    Sections sections = readSections(bytes);
    const PropertyList list = decodeEntries(sections["list"]);
    const PropertyList variables = decodeEntries(sections["environment"]);
    const Environment environment(variables.begin(), variables.end());
    std::vector<std::wstring> texts = decodeLines(sections["texts"]);
    constexpr std::size_t mostTexts = 4;
    texts.resize(std::min(texts.size(), mostTexts));

    Results results;
    results.list = list;
    const PeakMemory memory;
    {
        LauncherRunner runner;
        for (const char* known : {"TEMP", "HOMEDRIVE", "HOMEPATH", "USERNAME", "USERPROFILE", "PATH"}) {
            runner.machine.unsetEnvironment(std::wstring(known, known + std::string(known).size()));
        }
        for (const zellauncher::PropertyEntry& entry : environment) {
            runner.machine.setEnvironment(entry.key, entry.value);
        }
        const simulation::ProcessEnd end =
            runner
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
                .processEnd();
        expect(end.status == (results.isListValid ? 0U : 0xFFFFFFFFU), "only an invalid list is fatal");
        const std::size_t passes = texts.size() + 1;
        expect(runner.machine.operationCount() <= 100 + passes * mostScansOfValue * bytes.size(),
               "replacements are bounded");
    }
    expect(memory.bytes() <= 1'000'000 + 200 * bytes.size() + (texts.size() + textsAtOnce) * bytesOfGrowth,
           "memory is bounded: " + std::to_string(memory.bytes()));
    expectFollowsTheRules(results, texts, list, environment);
    expectListFollowsTheRules(results, list, environment);
}

}  // namespace fuzz
