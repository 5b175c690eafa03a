#include "javalaunch/argument_expansion.h"

#include <algorithm>
#include <map>
#include <optional>

#include "fuzz/allocation_account.h"
#include "fuzz/bench.h"
#include "fuzz/sections.h"
#include "fuzz/target.h"
#include "fuzz/text_lines.h"
#include "launch/argument_screening.h"

// The input is a command line and the configurations of zellauncher.properties. What comes out must be
// what the rules of the expansion give, and the screening must let no word through that it is there to
// refuse.
namespace fuzz {

namespace {

using zellauncher::Arguments;
using zellauncher::PropertyList;
using Overrides = std::map<std::wstring, std::wstring>;

constexpr std::size_t mostWords = 200;

struct Expansion {
    Arguments words;
    Overrides overrides;
    std::optional<std::wstring> data;  // what zel.data becomes
};

// Takes the overrides out; false when one has no value.
bool takeOverrides(Arguments& words, Overrides& overrides) {
    bool isSound = true;
    const auto isOverride = [](const std::wstring& word) { return word.compare(0, 6, L"vmarg.") == 0; };
    for (const std::wstring& word : words) {
        const std::size_t separator = word.find(L'=');
        if (isOverride(word) && isSound) {
            isSound = separator != std::wstring::npos;
            if (isSound) {
                overrides.insert({word.substr(0, separator), word.substr(separator + 1)});
            }
        }
    }
    std::erase_if(words, isOverride);
    return isSound;
}

void eraseSecond(Arguments& words, const std::wstring& word) {
    auto found = std::find(words.begin(), words.end(), word);
    found = found == words.end() ? found : std::find(found + 1, words.end(), word);
    if (found != words.end()) {
        words.erase(found);
    }
}

std::vector<std::wstring> configuredValues(const std::wstring& name, const PropertyList& list) {
    std::vector<std::wstring> values;
    for (int n = 1;; ++n) {
        const std::wstring key = L"config." + name + L"." + std::to_wstring(n);
        const auto found =
            std::find_if(list.begin(), list.end(), [&](const auto& entry) { return entry.key == key; });
        if (found == list.end()) {
            return values;
        }
        values.push_back(found->value);
    }
}

// The words in front of the configured place, the configured ones, and those behind; a boundary among
// the configured ones sends the rest to the end.
Arguments spliced(Arguments words, std::ptrdiff_t place, const std::vector<std::wstring>& values) {
    Arguments atPlace;
    Arguments atEnd;
    bool isBehind = place < 0;
    for (const std::wstring& value : values) {
        if (value == L"-vmargs" && place >= 0) {
            isBehind = true;
        } else if (!value.empty()) {
            (isBehind ? atEnd : atPlace).push_back(value);
        }
    }
    words.insert(words.begin() + std::max<std::ptrdiff_t>(place, 0), atPlace.begin(), atPlace.end());
    words.insert(words.end(), atEnd.begin(), atEnd.end());
    return words;
}

std::optional<Expansion> expandAgain(const Arguments& arguments, const PropertyList& list, bool isMarked) {
    Expansion expansion;
    Arguments plain = arguments;
    if (!takeOverrides(plain, expansion.overrides)) {
        return std::nullopt;
    }
    const auto config = std::find(arguments.begin() + 1, arguments.end(), L"-config");
    if (config == arguments.end() || config + 1 == arguments.end()) {
        if (isMarked) {
            plain.insert(plain.begin() + 1, {L"-debugFile", L"-pb4l", L"-debug", L"-console"});
            for (const wchar_t* word : {L"-console", L"-debug", L"-pb4l"}) {
                eraseSecond(plain, word);
            }
        }
        expansion.words = plain;
        return expansion;
    }
    std::ptrdiff_t place = -1;
    Arguments words;
    for (auto word = arguments.begin(); word != arguments.end(); ++word) {
        if (word == config || word == config + 1) {
            continue;
        }
        if (*word == L"-vmargs") {
            place = std::max<std::ptrdiff_t>(word - arguments.begin() - 2, -1);
        }
        words.push_back(*word);
    }
    words = spliced(words, place, configuredValues(*(config + 1), list));
    for (const wchar_t* word :
         {L"-vm", L"-data", L"-plugincustomization", L"-application", L"-product", L"-personality",
          L"-product", L"-nl", L"-dir", L"-console", L"-debug", L"-pb4l"}) {
        eraseSecond(words, word);
    }
    const auto dataWord = words.empty() ? words.end() : std::find(words.begin() + 1, words.end(), L"-data");
    if (dataWord != words.end() && dataWord + 1 != words.end()) {
        expansion.data = *(dataWord + 1);
    }
    if (!takeOverrides(words, expansion.overrides)) {
        return std::nullopt;
    }
    expansion.words = words;
    return expansion;
}

std::string printableWords(const Arguments& words) {
    std::string text;
    for (const std::wstring& word : words) {
        text += "[" + printable(word) + "] ";
    }
    return text;
}

// Whether a count that the caller declares is that of its words.
bool isDeclaredRightly(const Arguments& arguments) {
    const auto option = std::find(arguments.begin() + 1, arguments.end(), L"-maxargcnt");
    if (option == arguments.end()) {
        return true;
    }
    const std::wstring word = option + 1 == arguments.end() ? L"" : *(option + 1);
    std::wstring digits = word.substr(0, word.find_first_not_of(L"0123456789"));
    digits.erase(0, std::min(digits.find_first_not_of(L'0'), digits.size()));
    const bool isRestart = std::find(arguments.begin() + 1, arguments.end(), L"-restart") != arguments.end();
    const std::size_t expected = arguments.size() - (isRestart ? 1 : 0);
    return digits == (expected == 0 ? L"" : std::to_wstring(expected));
}

void expectScreened(Bench& bench, const Arguments& arguments) {
    bool isClean = isDeclaredRightly(arguments);
    for (const std::wstring& word : arguments) {
        for (const wchar_t* refused : {L"\"", L"jvm.library.path", L"java.library.path", L"java.home"}) {
            isClean = isClean && word.find(refused) == std::wstring::npos;
        }
    }
    const launchertest::Outcome outcome = bench.runQuietly([&] {
        zellauncher::checkUrlHandlerArgs(arguments);
        zellauncher::checkDoubleQuotes(arguments);
        zellauncher::checkForbiddenArgs(arguments);
    });
    expect(outcome.isFatal() != isClean,
           "what must not pass, and nothing else, is refused: " + printableWords(arguments));
}

}  // namespace

void runInput(const std::string& bytes) {
    Sections sections = readSections(bytes);
    Arguments arguments = wordsOf(sections["words"]);
    arguments.resize(std::min(arguments.size(), mostWords));
    arguments.insert(arguments.begin(), L"C:\\Apps\\framework\\Client\\zel\\zellauncher.exe");
    PropertyList list = entriesOf(sections["configurations"]);
    const PropertyList before = list;
    const bool isMarked = sections.count("marker") != 0;

    Arguments words;
    Overrides overrides;
    const AllocationAccount account;
    Bench bench;
    if (isMarked) {
        bench.machine.writeFile(L"C:\\Apps\\framework\\Client\\zel\\prov.debug\\debug.txt", "");
    }
    const launchertest::Outcome outcome = bench.runQuietly([&] {
        zellauncher::expandConfiguredArguments(words, arguments, list, overrides,
                                               L"C:\\Apps\\framework\\Client");
    });
    expect(bench.machine.operationCount() <= 100, "the expansion asks the system for one file alone");
    expect(account.peakBytes() <= 600'000 + 200 * bytes.size(),
           "memory is bounded by the words: " + std::to_string(account.peakBytes()));

    const std::optional<Expansion> expected = expandAgain(arguments, before, isMarked);
    expect(outcome.isFatal() != expected.has_value(), "an override without a value is fatal");
    if (expected && !outcome.isFatal()) {
        expect(words == expected->words,
               printableWords(words) + "is by the rules " + printableWords(expected->words));
        expect(overrides == expected->overrides, "the overrides are those of the rules");
        const std::wstring* data = zellauncher::lookupProperty(L"zel.data", list);
        expect(data == nullptr || !expected->data || *data == *expected->data, "the workspace is the word's");
    }
    expectScreened(bench, arguments);
}

}  // namespace fuzz
