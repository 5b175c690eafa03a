#include "properties/substitution.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "properties/token_scan.h"
#include "support/launcher_fixture.h"
#include "support/run_length.h"
#include "support/text.h"

namespace {

using launchertest::toUtf8;
using zellauncher::Arguments;
using zellauncher::PropertyList;

class Substitution : public launchertest::OnMachine {
protected:
    PropertyList list;
    launchertest::Outcome outcome;

    // Whether all tokens of the text were resolved; nothing if the process ended.
    std::optional<bool> substitute(std::wstring& text) {
        std::optional<bool> isResolved;
        outcome = run([&] { isResolved = zellauncher::substituteProperties(text, list); });
        return isResolved;
    }
    void expectResolved(const std::wstring& text, const std::wstring& expected) {
        std::wstring changed = text;
        EXPECT_EQ(substitute(changed), true) << toUtf8(text);
        EXPECT_EQ(changed, expected) << toUtf8(text);
    }
    void expectUnresolved(const std::wstring& text, const std::wstring& expected) {
        std::wstring changed = text;
        EXPECT_EQ(substitute(changed), false) << toUtf8(text);
        EXPECT_EQ(changed, expected) << toUtf8(text);
    }
    void expectLibraryPath(std::wstring text, const std::wstring& expected) {
        const std::wstring given = text;
        zellauncher::prefixJavaHomeEntries(text);
        EXPECT_EQ(text, expected) << toUtf8(given);
    }
};

TEST_F(Substitution, TextWithoutTokensIsUnchanged) {
    expectResolved(L"", L"");
    expectResolved(L"$", L"$");
    expectResolved(L"a$b{c}", L"a$b{c}");
}

TEST_F(Substitution, EnvironmentTokensMayHaveADefault) {
    expectResolved(L"${env.HOME_X,/tmp/x}/a", L"/tmp/x/a");
    expectResolved(L"${env.X,}", L"");
    expectUnresolved(L"${env.X}", L"${env.X}");
    EXPECT_TRUE(outcome.logHas("ZLNCH0081I:  Environmental variable 'X' is not set"));
    machine.setEnvironment(L"HOME_X", L"/h");
    expectResolved(L"${env.HOME_X,/tmp/x}/a", L"/h/a");
    expectResolved(L"${env.home_x}", L"/h");  // Windows ignores the case of variable names
    expectUnresolved(L"${ENV.HOME_X}", L"${ENV.HOME_X}");
    expectResolved(L"${env.X,a,b}", L"a,b");
    machine.setEnvironment(L"EMPTY", L"");
    expectResolved(L"x${env.EMPTY,default}y", L"xy");
}

TEST_F(Substitution, PropertyTokensTakeTheFirstWholeKey) {
    list = {{L"k", L"v"}, {L"k", L"w"}, {L"a,b", L"comma"}, {L"e", L""}};
    expectResolved(L"${prop.k}", L"v");
    expectResolved(L"<${prop.a,b}>", L"<comma>");
    expectResolved(L"${prop.e}", L"");
    expectUnresolved(L"${prop.K}", L"${prop.K}");
    expectUnresolved(L"${other}", L"${other}");
    expectUnresolved(L"${}", L"${}");
}

TEST_F(Substitution, ScanContinuesLeftOfUnknownTokens) {
    list = {{L"known", L"K"}};
    expectUnresolved(L"${prop.unknown}x${prop.known}", L"${prop.unknown}xK");
    expectUnresolved(L"${prop.known}x${prop.unknown}", L"Kx${prop.unknown}");
    expectUnresolved(L"${zel.home}", L"${zel.home}");
}

TEST_F(Substitution, TokensInValuesAreReplaced) {
    list = {{L"a", L"<${prop.b}>"}, {L"b", L"(${env.X,d})"}};
    expectResolved(L"${prop.a}-${prop.b}", L"<(d)>-(d)");
}

TEST_F(Substitution, CyclicTextStopsAfterElevenReplacements) {
    list = {{L"a", L"${prop.b}"}, {L"b", L"${prop.a}"}};
    expectUnresolved(L"${prop.b}", L"${prop.a}");
    EXPECT_EQ(launchertest::countOccurrences(outcome.log, "ZLNCH0071I"), 11U);
    EXPECT_TRUE(outcome.logHas("ZLNCH0071I: Modified prop_contents ${prop.b} => ${prop.a}"));
}

TEST_F(Substitution, SelfNestingTextStopsAfterElevenReplacements) {
    list = {{L"a", L"x${prop.a}y"}};
    // The scan is at the y and finds the token before it, one position further right than the last one.
    std::wstring expected = L"${prop.a}";
    for (int i = 0; i < 11; ++i) {
        expected = L"x" + expected + L"y";
    }
    expectUnresolved(L"${prop.a}", expected);
}

TEST_F(Substitution, TenReplacementsWithoutMovingLeftAreTooMany) {
    // Each value names the next key: one replacement, and nine more that do not move left.
    for (int i = 0; i < 9; ++i) {
        list.push_back({std::to_wstring(i), L"${prop." + std::to_wstring(i + 1) + L"}"});
    }
    list.push_back({L"9", L"end"});
    expectResolved(L"${prop.0}", L"end");
    list.setValue(list.size() - 1, L"${env.X,end}");
    expectUnresolved(L"${prop.0}", L"end");
    expectResolved(L"-${prop.1}", L"-end");
}

TEST_F(Substitution, MovingLeftRestartsTheCount) {
    list = {{L"end", L"e"}};
    for (int i = 0; i < 8; ++i) {
        list.push_back(
            {std::to_wstring(i), i == 7 ? L"${prop.end}" : L"${prop." + std::to_wstring(i + 1) + L"}"});
    }
    expectResolved(L"${prop.0}${prop.0}${prop.0}", L"eee");
}

TEST_F(Substitution, ValueThatContainsItselfIsInvalid) {
    list = {{L"a", L"${prop.a}${env.E,}"}};
    std::wstring text = L"${prop.a}";
    EXPECT_EQ(substitute(text), false);
    EXPECT_EQ(outcome.lastLine(), "ZELLauncher> a property text expands without end");
    EXPECT_EQ(outcome.linesBeginningWith("ZLNCH0071I"), 23U);  // twelve values and eleven variables
    outcome = runQuietly([&] { zellauncher::substitutePropertyList(L"C:\\d", L"C:\\h", list); });
    outcome.expectFatal("ZLNCH0088E: property substitution is invalid (${prop.a}${env.E,})");
}

TEST_F(Substitution, ValuesThatContainEachOtherAreInvalid) {
    list = {{L"a", L"x${prop.b}${env.E,}"}, {L"b", L"y${prop.c}${env.E,}"}, {L"c", L"z${prop.a}${env.E,}"}};
    std::wstring text = L"${prop.b}";
    EXPECT_EQ(substitute(text), false);
    EXPECT_EQ(text.substr(0, 3), L"yzx");
    EXPECT_EQ(outcome.lastLine(), "ZELLauncher> a property text expands without end");
}

TEST_F(Substitution, ManyValuesMayNameOneValueOfManyTokens) {
    std::wstring hundred;
    std::wstring expected;
    for (int i = 0; i < 100; ++i) {
        hundred += L"${env.E,x}";
        expected += L"x";
    }
    for (int i = 0; i < 101; ++i) {
        list.push_back({std::to_wstring(i), L"${prop.hundred}"});
    }
    list.push_back({L"hundred", hundred});
    outcome = runQuietly([&] { zellauncher::substitutePropertyList(L"C:\\d", L"C:\\h", list); });
    EXPECT_EQ(outcome.processEnd().status, 0U);
    for (const zellauncher::PropertyEntry& entry : list) {
        EXPECT_EQ(entry.value, expected) << toUtf8(entry.key);
    }
}

TEST_F(Substitution, EachValueMayGrowByMillions) {
    const std::wstring tenfold =
        L"${prop.big}${prop.big}${prop.big}${prop.big}${prop.big}"
        L"${prop.big}${prop.big}${prop.big}${prop.big}${prop.big}";
    list = {{L"big", std::wstring(100000, L'x')}};
    zellauncher::VmargOverrides overrides;
    for (const wchar_t* key : {L"a", L"b", L"c", L"d", L"e"}) {
        overrides[key] = tenfold;
        list.push_back({key, tenfold});
    }
    outcome = runQuietly([&] {
        zellauncher::substitutePropertyList(L"C:\\d", L"C:\\h", list);
        zellauncher::substituteVmArguments(L"C:\\d", L"C:\\h", list, overrides);
    });
    EXPECT_EQ(outcome.processEnd().status, 0U);
    EXPECT_EQ(list.back().value.size(), 1000000U);
    EXPECT_EQ(overrides[L"e"].size(), 1000000U);
}

TEST_F(Substitution, ValuesThatDoubleFortyTimesAreScannedOnce) {
    for (int i = 0; i < 40; ++i) {
        const std::wstring next = L"${prop." + std::to_wstring(i + 1) + L"}";
        list.push_back({std::to_wstring(i), next + next + L"${env.E,}"});
    }
    list.push_back({L"40", L""});
    expectResolved(L"-${prop.0}-", L"--");
    EXPECT_LE(outcome.linesBeginningWith("ZLNCH0071I"), 10100U);
    runQuietly([&] { zellauncher::substitutePropertyList(L"C:\\d", L"C:\\h", list); });
    EXPECT_EQ(list.front().value, L"");
}

TEST_F(Substitution, TextMayGrowByFiftyMillionCharacters) {
    if (launchertest::isSanitized()) {
        GTEST_SKIP() << "takes long under the sanitizers, which see the same code with shorter texts";
    }
    const std::wstring tokens = L"${prop.big}${prop.big}${prop.big}${prop.big}${prop.big}${prop.rest}";
    const std::wstring rest(tokens.size(), L'x');  // as long as what the values replace
    list = {{L"big", std::wstring(10'000'000, L'x')}, {L"rest", rest}};
    std::wstring text = tokens;
    runQuietly([&] { EXPECT_TRUE(zellauncher::substituteProperties(text, list)); });
    EXPECT_EQ(text.size(), 50'000'000U + rest.size());

    list.setValue(1, rest + L"x");
    text = tokens;
    outcome = run([&] { EXPECT_FALSE(zellauncher::substituteProperties(text, list)); });
    EXPECT_EQ(outcome.lastLine(), "ZELLauncher> a property text expands without end");
    EXPECT_EQ(text.size(), 4'000'000U);
}

TEST_F(Substitution, ValuesOfAListMayGrowByAHundredMillionCharacters) {
    if (launchertest::isSanitized()) {
        GTEST_SKIP() << "takes long under the sanitizers, which see the same code with shorter texts";
    }
    list = {{L"big", std::wstring(40'000'000, L'x')}, {L"a", L"${prop.big}"}, {L"b", L"${prop.big}"}};
    PropertyList longer = list;
    runQuietly([&] { zellauncher::substitutePropertyList(L"C:\\d", L"C:\\h", list); });
    EXPECT_EQ(list.back().value.size(), 40'000'000U);
    longer.push_back({L"c", L"${prop.big}"});
    outcome = runQuietly([&] { zellauncher::substitutePropertyList(L"C:\\d", L"C:\\h", longer); });
    EXPECT_TRUE(outcome.isFatal());
}

TEST_F(Substitution, ShortTextAfterTheGrowthIsUsedUpIsShownWhole) {
    if (launchertest::isSanitized()) {
        GTEST_SKIP() << "takes long under the sanitizers, which see the same code with shorter texts";
    }
    const std::wstring text(100, L's');
    list = {{L"big", std::wstring(50'000'000, L'x')}, {L"short", text}};
    list.push_back({L"a", L"${prop.big}"});
    list.push_back({L"b", L"${prop.big}"});
    list.push_back({L"c", L"${prop.short}"});
    outcome = runQuietly([&] { zellauncher::substitutePropertyList(L"C:\\d", L"C:\\h", list); });
    outcome.expectFatal("ZLNCH0088E: property substitution is invalid (" + toUtf8(text) + ")");
}

TEST_F(Substitution, LongTextWithManyTokensIsResolved) {
    list = {{L"k", L"a value"}, {L"two", L"${prop.k}${prop.k}"}};
    std::wstring text;
    std::wstring expected;
    for (int i = 0; i < 100000; ++i) {
        text += L"${prop.k};";
        expected += L"a value;";
    }
    text += L"${prop.two}";
    expected += L"a valuea value";
    expectResolved(text, expected);
    EXPECT_EQ(outcome.log, "");  // the debug lines would be too long
    expectResolved(std::wstring(5000000, L'x') + L"${prop.k}", std::wstring(5000000, L'x') + L"a value");
}

TEST_F(Substitution, LongTextOfBrokenTokensIsScanned) {
    std::wstring text;
    std::wstring expected;
    for (int i = 0; i < 200000; ++i) {
        text += L"${ab";
    }
    for (int i = 0; i < 200000; ++i) {
        expected += L"${a}";
    }
    std::wstring changed = text;
    bool result = true;
    runQuietly([&] { result = zellauncher::substituteProperties(changed, list); });
    EXPECT_FALSE(result);
    EXPECT_EQ(changed, expected);
}

// The same scan without its optimizations: on one text, replacing in place. False if it takes too many steps.
bool scanPlainly(std::wstring& text, const PropertyList& list) {
    std::ptrdiff_t position = static_cast<std::ptrdiff_t>(text.size()) - 1;
    std::ptrdiff_t lastStart = PTRDIFF_MAX;
    bool isResolved = true;
    int stuck = 0;
    for (int step = 0; step < 300; ++step) {
        const std::optional<zellauncher::Token> token = zellauncher::findLastToken(text, position);
        if (!token) {
            return isResolved;
        }
        const auto start = static_cast<std::ptrdiff_t>(token->start);
        const auto& [replacement, isTokenResolved, property] = zellauncher::resolveToken(token->name, list);
        isResolved = isTokenResolved && isResolved;
        text.replace(token->start, token->length, replacement);
        position = isResolved ? start + static_cast<std::ptrdiff_t>(replacement.size()) - 1 : start - 1;
        stuck = start < lastStart ? 0 : stuck + 1;
        if (stuck == 10 || position < -1 || (!isResolved && start == 0)) {
            return false;
        }
        lastStart = start;
    }
    return false;
}

TEST_F(Substitution, RandomTextsMatchThePlainScan) {
    list = {{L"a", L"${prop.b}x"}, {L"b", L"$"}, {L"c", L"{prop.b}"}, {L"d", L""},          {L"e", L"prop."},
            {L"f", L"${prop.f"},   {L"g", L"}"}, {L"", L"n$"},        {L"h", L"${env.E,}$"}};
    // Ten values in a row are allowed; with the ones that name the first of them, it is too many.
    for (int i = 0; i < 8; ++i) {
        list.push_back({std::to_wstring(i), L"${prop." + std::to_wstring(i + 1) + L"}"});
    }
    list.push_back({L"8", L"z"});
    list.push_back({L"i", L"${prop.j}"});
    list.push_back({L"j", L"${prop.0}"});
    const std::vector<std::wstring> pieces = {
        L"${prop.",   L"${",        L"$",         L"{",         L"}",         L"a}",       L"b}", L"c}",
        L"d}",        L"e}",        L"f}",        L"g}",        L"a",         L"b",        L"x",  L"prop.",
        L"${prop.d}", L"${prop.b}", L"${prop.a}", L"${prop.0}", L"${prop.i}", L"${prop.h}"};
    runQuietly([&] {
        std::uint32_t state = 7;
        for (int round = 0; round < 20000; ++round) {
            std::wstring text;
            for (int i = 0; i < 8; ++i) {
                state = state * 1664525U + 1013904223U;
                text += pieces[(state >> 16U) % pieces.size()];
            }
            std::wstring expected = text;
            std::wstring changed = text;
            const bool isResolved = scanPlainly(expected, list);
            ASSERT_EQ(zellauncher::substituteProperties(changed, list), isResolved) << toUtf8(text);
            ASSERT_EQ(changed, expected) << toUtf8(text);
        }
    });
}

// Six values in a row are remembered, and become part of a seventh that is remembered.
TEST_F(Substitution, RememberedValuesCountTowardsEndlessOnes) {
    list = {{L"0", L"${prop.1}"}, {L"1", L"${prop.2}"}, {L"2", L"${prop.3}"}, {L"3", L"${prop.4}"},
            {L"4", L"${prop.5}"}, {L"5", L"z"},         {L"o", L"${prop.0}"}, {L"w", L"${prop.o}"},
            {L"x", L"${prop.w}"}, {L"y", L"${prop.x}"}, {L"a", L"${prop.y}"}};
    for (const wchar_t* text : {L"${prop.y} ${prop.o} ${prop.0}", L"${prop.a} ${prop.o} ${prop.0}"}) {
        runQuietly([&] {
            std::wstring expected = text;
            std::wstring changed = text;
            const bool isValid = scanPlainly(expected, list);
            EXPECT_EQ(zellauncher::substituteProperties(changed, list), isValid);
            EXPECT_EQ(changed, expected);
            EXPECT_EQ(isValid, text[7] == L'y');
        });
    }
}

// The scan of the value ends at the character before it.
TEST_F(Substitution, DollarBeforeARememberedValueMayBeginAToken) {
    list = {{L"empty", L""}, {L"a", L"${prop.empty}{x}"}, {L"d", L"{prop.a}"}};
    runQuietly([&] {
        for (const wchar_t* text : {L"$${prop.a}", L"$${prop.a} ${prop.a}", L"$${prop.d}${prop.missing}"}) {
            std::wstring expected = text;
            std::wstring changed = text;
            EXPECT_FALSE(scanPlainly(expected, list));
            EXPECT_FALSE(zellauncher::substituteProperties(changed, list)) << toUtf8(text);
            EXPECT_EQ(changed, expected);
        }
    });
}

// After ten thousand replacements in the log, what is remembered of a value is inserted with one line.
TEST_F(Substitution, TenThousandReplacementsAreLoggedOneByOne) {
    for (const std::size_t linesBefore : {std::size_t{0}, std::size_t{1}}) {
        list = {};
        for (std::size_t i = 0; i < linesBefore; ++i) {
            list.push_back({L"first", L"${prop.b}"});
        }
        for (int i = 0; i < 5100; ++i) {
            list.push_back({L"x" + std::to_wstring(i), L"${prop.a}"});
        }
        list.push_back({L"a", L"${prop.b}"});
        list.push_back({L"b", L"v"});
        outcome = run([&] { zellauncher::substitutePropertyList(L"C:\\d", L"C:\\h", list); });
        EXPECT_EQ(list[5099 + linesBefore].value, L"v");
        // Two lines for each of the first 5000 values, one for each of the others and for `a`.
        EXPECT_EQ(outcome.linesBeginningWith("ZLNCH0071I: Modified prop_contents "), 10'101 + linesBefore);
    }
}

// The log drops lines with longer texts. A replacement is among the ten thousand all the same if the text
// itself has fewer than 4000 characters.
TEST_F(Substitution, LongTextsAreHardlyLogged) {
    for (const std::size_t length : {std::size_t{3999}, std::size_t{4000}}) {
        constexpr std::size_t tokens = 444;
        std::wstring text;
        for (std::size_t i = 0; i < tokens; ++i) {
            text += L"${prop.k}";
        }
        text.resize(length, L'x');
        list = {};
        for (std::size_t i = 0; i < 10'000 / tokens + 1; ++i) {
            list.push_back({L"long" + std::to_wstring(i), text});
        }
        for (const wchar_t* key : {L"first", L"second"}) {
            list.push_back({key, L"${prop.y}"});
        }
        list.push_back({L"y", L"${prop.x}"});
        list.push_back({L"x", L"v"});
        list.push_back({L"k", L"as-long-9"});
        outcome = run([&] { zellauncher::substitutePropertyList(L"C:\\d", L"C:\\h", list); });
        EXPECT_EQ(list[0].value.size(), length);
        EXPECT_EQ(outcome.linesBeginningWith("ZLNCH0071I: Modified prop_contents "),
                  length == 3999 ? 4U : 5U);
    }
}

// The walk through a list without what it remembers of values. False if a value is invalid.
bool substitutePlainly(PropertyList& list) {
    for (std::size_t i = 0; i < list.size(); ++i) {
        std::wstring text = list[i].value;
        if (!scanPlainly(text, list)) {
            return false;
        }
        list.setValue(i, text);
    }
    return true;
}

TEST_F(Substitution, RandomListsMatchThePlainWalk) {
    const std::vector<std::wstring> pieces = {
        L"${prop.a}", L"${prop.b}", L"${prop.c}", L"${prop.d}", L"${prop.e}", L"${prop.f}",   L"${prop.",
        L"a}",        L"e}",        L"{",         L"}",         L"x",         L"${env.E,d$}", L"$"};
    const int rounds = launchertest::isSanitized() ? 2000 : 20000;
    int valid = 0;
    runQuietly([&] {
        std::uint32_t state = 11;
        const auto draw = [&state](std::size_t limit) {
            state = state * 1664525U + 1013904223U;
            return (state >> 16U) % limit;
        };
        for (int round = 0; round < rounds; ++round) {
            PropertyList original;
            for (const wchar_t* key : {L"a", L"b", L"c", L"d", L"e", L"f"}) {
                std::wstring value;
                for (std::size_t i = draw(4); i > 0; --i) {
                    value += pieces[draw(pieces.size())];
                }
                original.push_back({key, value});
            }
            PropertyList expected = original;
            if (!substitutePlainly(expected)) {
                continue;
            }
            ++valid;
            PropertyList changed = original;
            zellauncher::substitutePropertyList(L"C:\\d", L"C:\\h", changed);
            for (std::size_t i = 0; i < changed.size(); ++i) {
                ASSERT_EQ(changed[i].value, expected[i].value) << round << toUtf8(changed[i].key);
            }
        }
    });
    EXPECT_GT(valid, rounds / 10);
}

TEST_F(Substitution, ValueIsScannedAgainAfterAnotherOneIsFinal) {
    // A token that is not closed ends where the scan is: after "x1" once k is final, at the "1" before.
    list = {
        {L"first", L"${prop.r}"}, {L"k", L"x${prop.m}y"}, {L"second", L"${prop.a${prop.r}}"}, {L"m", L"1"},
        {L"r", L"${prop.k}"},     {L"ax1", L"found"}};
    outcome = runQuietly([&] { zellauncher::substitutePropertyList(L"C:\\d", L"C:\\h", list); });
    EXPECT_EQ(outcome.processEnd().status, 0U);
    EXPECT_EQ(list[0].value, L"x1y");
    EXPECT_EQ(list[2].value, L"found}");
}

TEST_F(Substitution, ValueOfARememberedValueIsScannedAgain) {
    list = {{L"first", L"${prop.r}${prop.k}"},
            {L"k", L"x${prop.m}y"},
            {L"second", L"${prop.a${prop.r}}"},
            {L"m", L"1"},
            {L"r", L"${prop.k}"},
            {L"ax1", L"found"}};
    outcome = runQuietly([&] { zellauncher::substitutePropertyList(L"C:\\d", L"C:\\h", list); });
    EXPECT_EQ(outcome.processEnd().status, 0U);
    EXPECT_EQ(list[0].value, L"x1yx1y");
    EXPECT_EQ(list[2].value, L"found}");
}

TEST_F(Substitution, ValueWithinAValueIsScannedAgainAfterAnotherOneIsFinal) {
    list = {{L"first", L"${prop.o}"},        {L"o", L"${prop.k}"}, {L"k", L"a${prop.j}$b"}, {L"j", L"xy"},
            {L"last", L"${prop.${prop.k}}"}, {L"axy$", L"found"}};
    outcome = runQuietly([&] { zellauncher::substitutePropertyList(L"C:\\d", L"C:\\h", list); });
    EXPECT_EQ(outcome.processEnd().status, 0U);
    EXPECT_EQ(list[0].value, L"axy$b");
    EXPECT_EQ(list[4].value, L"found}");
}

TEST_F(Substitution, DollarFromAReplacementMayBeginAToken) {
    list = {{L"d", L"$"}};
    expectUnresolved(L"${prop.d}{x}", L"${}{x}");
}

TEST_F(Substitution, EmptyReplacementLeavesNothing) {
    list = {{L"e", L""}};
    expectResolved(L"${prop.e}", L"");
    expectResolved(L"${prop.e}${prop.e}", L"");
}

TEST_F(Substitution, EmptyNameIsLookedUpLikeAnyOther) {
    expectUnresolved(L"${env.}", L"${env.}");
    expectResolved(L"${env.,default}", L"default");
    expectUnresolved(L"${prop.}", L"${prop.}");
    list = {{L"", L"v"}};
    expectResolved(L"${prop.}", L"v");
}

TEST_F(Substitution, HugeVariableIsInsertedWhole) {
    const std::wstring huge(32000, L'v');
    machine.setEnvironment(L"HUGE", huge);
    expectResolved(L"<${env.HUGE}>", L"<" + huge + L">");
}

TEST_F(Substitution, TokensInVariablesAreReplaced) {
    machine.setEnvironment(L"V", L"${prop.k}");
    list = {{L"k", L"v"}};
    expectResolved(L"${env.V}", L"v");
    expectResolved(L"${env.W,${prop.k}}", L"}");  // tokens do not nest
}

TEST_F(Substitution, TokensDoNotNest) {
    list = {{L"b", L"XY"}, {L"aX", L"found"}};
    // The inner token becomes XY; the outer name then loses its last character and leaves its brace.
    expectResolved(L"${prop.a${prop.b}}", L"found}");
}

TEST_F(Substitution, UnterminatedTokenLosesItsLastCharacter) {
    expectUnresolved(L"${prop.a", L"${prop.}");
    expectUnresolved(L"${", L"${}");
}

TEST_F(Substitution, FindsTheLastTokenUpToAPosition) {
    const auto expectToken = [](const std::wstring& text, std::ptrdiff_t position, std::size_t start,
                                std::size_t length, const std::wstring& name) {
        const std::optional<zellauncher::Token> token = zellauncher::findLastToken(text, position);
        ASSERT_TRUE(token) << toUtf8(text);
        EXPECT_EQ(token->start, start) << toUtf8(text);
        EXPECT_EQ(token->length, length) << toUtf8(text);
        EXPECT_EQ(token->name, name) << toUtf8(text);
    };
    expectToken(L"a${b}c${d}e", 10, 6, 4, L"d");
    expectToken(L"a${b}c${d}e", 5, 1, 4, L"b");
    expectToken(L"a${b}", 3, 1, 3, L"");
    EXPECT_FALSE(zellauncher::findLastToken(L"a${b}", 0));
    EXPECT_FALSE(zellauncher::findLastToken(L"$", 0));
    EXPECT_FALSE(zellauncher::findLastToken(L"${x}", -1));
}

TEST_F(Substitution, LocationTokensAreReplacedEverywhere) {
    std::wstring text = L"${zel.home}|${workspace.location}|${zel.data}|${zel.home}|${ZEL.HOME}";
    EXPECT_TRUE(zellauncher::replaceLocationTokens(L"D", L"H", text));
    EXPECT_EQ(text, L"H|D|D|H|${ZEL.HOME}");
    EXPECT_FALSE(zellauncher::replaceLocationTokens(L"D", L"H", text));
}

TEST_F(Substitution, HomeDirectoryIsSearchedForLaterTokensOnly) {
    std::wstring text = L"${zel.home}";
    EXPECT_TRUE(zellauncher::replaceLocationTokens(L"D", L"<${zel.data}>", text));
    EXPECT_EQ(text, L"<D>");
    text = L"${zel.home}";
    EXPECT_TRUE(zellauncher::replaceLocationTokens(L"D", L"x${zel.home}", text));
    EXPECT_EQ(text, L"x${zel.home}");
}

TEST_F(Substitution, LocationTokensFormedByReplacementsAreReplaced) {
    std::wstring text = L"${zel.${zel.data}data}|${zel.${zel.data}${zel.data}data}";
    EXPECT_TRUE(zellauncher::replaceLocationTokens(L"", L"H", text));
    EXPECT_EQ(text, L"|");
    text = L"${zel.home}{zel.data}";
    EXPECT_TRUE(zellauncher::replaceLocationTokens(L"D", L"C:/x$", text));
    EXPECT_EQ(text, L"C:/xD");
    text = L"${zel.home${zel.data}";
    EXPECT_TRUE(zellauncher::replaceLocationTokens(L"D", L"H", text));
    EXPECT_EQ(text, L"${zel.homeD");
    text = L"${zel.data}${zel.data}";
    EXPECT_TRUE(zellauncher::replaceLocationTokens(L"<${zel.data}>", L"H", text));
    EXPECT_EQ(text, L"<${zel.data}><${zel.data}>");
}

TEST_F(Substitution, ManyLocationTokensAreReplaced) {
    std::wstring text;
    std::wstring expected;
    for (int i = 0; i < 100000; ++i) {
        text += L"${zel.home};";
        expected += L"C:/h;";
    }
    EXPECT_TRUE(zellauncher::replaceLocationTokens(L"C:/d", L"C:/h", text));
    EXPECT_EQ(text, expected);
}

TEST_F(Substitution, CyclicValueInAListIsFatal) {
    list = {{L"a", L"${prop.b}"}, {L"b", L"${prop.a}"}};
    outcome = run([&] { zellauncher::substitutePropertyList(L"C:\\d", L"C:\\h", list); });
    outcome.expectFatal("ZLNCH0088E: property substitution is invalid (${prop.a})");
}

TEST_F(Substitution, ListLookupTakesTheFirstEntry) {
    list = {{L"a", L"${prop.k}"}, {L"k", L"1${env.X,}"}, {L"k", L"2"}};
    run([&] { zellauncher::substitutePropertyList(L"C:\\d", L"C:\\h", list); });
    EXPECT_EQ(list[0].value, L"1");
    EXPECT_EQ(list[1].value, L"1");
    EXPECT_EQ(list[2].value, L"2");
}

TEST_F(Substitution, ListIsSubstitutedInItsOrder) {
    list = {{L"a", L"${zel.home}/x"},
            {L"b", L"${prop.a}:${prop.c}"},
            {L"c", L"${zel.data}"},
            {L"${zel.home}", L"k"}};
    // The raw value of c enters b after the location tokens of b have been replaced.
    outcome = run([&] { zellauncher::substitutePropertyList(L"C:\\d", L"C:\\h", list); });
    outcome.expectFatal("ZLNCH0088E: property substitution is invalid (C:/h/x:${zel.data})");
    list = {{L"a", L"${zel.home}/x"},
            {L"b", L"${prop.a}"},
            {L"c", L"${workspace.location}"},
            {L"${zel.home}", L"k"}};
    outcome = run([&] { zellauncher::substitutePropertyList(L"C:\\d", L"C:\\h", list); });
    EXPECT_EQ(list[0].value, L"C:/h/x");
    EXPECT_EQ(list[1].value, L"C:/h/x");
    EXPECT_EQ(list[2].value, L"C:/d");
    EXPECT_EQ(list[3].key, L"${zel.home}");
}

TEST_F(Substitution, OverridesTakePropertiesFromTheList) {
    list = {{L"k", L"v"}};
    zellauncher::VmargOverrides overrides = {{L"vmarg.a", L"-Da=${prop.k}${zel.data}"}};
    run([&] { zellauncher::substituteVmArguments(L"C:\\d", L"C:\\h", list, overrides); });
    EXPECT_EQ(overrides[L"vmarg.a"], L"-Da=vC:/d");
    overrides = {{L"vmarg.a", L"${prop.x}"}};
    outcome = run([&] { zellauncher::substituteVmArguments(L"C:\\d", L"C:\\h", list, overrides); });
    outcome.expectFatal("ZLNCH0088E: property substitution is invalid (${prop.x})");
}

TEST_F(Substitution, ArgumentsHaveLocationTokensOnly) {
    Arguments arguments = {L"${zel.home}\\p", L"${env.X}", L"${prop.a}", L"${zel.data}"};
    zellauncher::substituteArguments(L"C:\\d", L"C:\\h", arguments);
    EXPECT_EQ(arguments, (Arguments{L"C:/h\\p", L"${env.X}", L"${prop.a}", L"C:/d"}));
}

TEST_F(Substitution, LibraryPathEntriesGetTheJavaHome) {
    expectLibraryPath(L"lib/x", L"${prop.java.home}/lib/x");
    expectLibraryPath(L"lib\\x", L"${prop.java.home}/lib/x");
    expectLibraryPath(L"${prop.java.home}/a;b1", L"${prop.java.home}/a;${prop.java.home}/b1");
}

TEST_F(Substitution, LibraryPathSteppingLosesEntries) {
    expectLibraryPath(L"a1;b2;c3", L"${prop.java.home}/a1;${prop.java.home}/b2;");
    expectLibraryPath(L"x;lib/y", L"${prop.java.home}/lib/y");
    expectLibraryPath(L"", L"${prop.java.home}/");
    expectLibraryPath(L"ab;", L"${prop.java.home}/ab");
    expectLibraryPath(L"a", L"");
    expectLibraryPath(L"ab;y", L"${prop.java.home}/ab;");
    expectLibraryPath(L";ab", L"${prop.java.home}/;${prop.java.home}/ab");
    expectLibraryPath(L"ab;;cd", L"${prop.java.home}/ab;${prop.java.home}/;");
    // After the second entry the walk continues at 3 + 1 + 7 = 11, in the middle of the fourth.
    expectLibraryPath(L"ab;long;x;four;five",
                      L"${prop.java.home}/ab;${prop.java.home}/long;"
                      L"${prop.java.home}/our;");
}

}  // namespace
