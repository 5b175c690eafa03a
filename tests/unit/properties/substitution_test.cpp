#include "properties/substitution.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

#include "support/launcher_fixture.h"

namespace {

using zellauncher::Arguments;
using zellauncher::PropertyList;

class Substitution : public launchertest::OnMachine {
protected:
    PropertyList list;
    launchertest::Outcome outcome;

    void expectText(const std::wstring& text, bool isResolved, const std::wstring& expected) {
        std::wstring changed = text;
        bool result = !isResolved;
        outcome = run([&] { result = zellauncher::substituteProperties(changed, list); });
        EXPECT_EQ(result, isResolved) << std::string(text.begin(), text.end());
        EXPECT_EQ(changed, expected);
    }
    // How many lines of the log begin so.
    std::size_t linesOf(const std::string& beginning) const {
        std::size_t count = 0;
        for (std::size_t at = outcome.log.find(beginning); at != std::string::npos;
             at = outcome.log.find(beginning, at + 1)) {
            ++count;
        }
        return count;
    }
    // What a text gains that grows by 16,000 characters in each turn, and by `surplus` in its course,
    // until it counts as endless.
    std::size_t endlessGain(std::size_t surplus) {
        const std::wstring token = L"${env." + std::wstring(surplus - 8, L'E') + L",}";
        list = {{L"a", L"${prop.a}" + std::wstring(16000, L'x') + token}};
        std::wstring text = L"${prop.a}";
        runQuietly([&] { EXPECT_FALSE(zellauncher::substituteProperties(text, list)); });
        return text.size() - std::wstring(L"${prop.a}").size();
    }
    void expectLibraryPath(std::wstring text, const std::wstring& expected) {
        zellauncher::prefixJavaHomeEntries(text);
        EXPECT_EQ(text, expected);
    }
};

TEST_F(Substitution, ATextWithoutTokensStays) {
    expectText(L"", true, L"");
    expectText(L"$", true, L"$");
    expectText(L"a$b{c}", true, L"a$b{c}");
}

TEST_F(Substitution, TheEnvironmentAndItsDefaults) {
    expectText(L"${env.HOME_X,/tmp/x}/a", true, L"/tmp/x/a");
    expectText(L"${env.X,}", true, L"");
    expectText(L"${env.X}", false, L"${env.X}");
    EXPECT_TRUE(outcome.logHas("ZLNCH0081I:  Environmental variable 'X' is not set"));
    machine.setEnvironment(L"HOME_X", L"/h");
    expectText(L"${env.HOME_X,/tmp/x}/a", true, L"/h/a");
    expectText(L"${env.home_x}", true, L"/h");  // the system compares names without regard to case
    expectText(L"${ENV.HOME_X}", false, L"${ENV.HOME_X}");
    expectText(L"${env.X,a,b}", true, L"a,b");
    machine.setEnvironment(L"EMPTY", L"");
    expectText(L"x${env.EMPTY,default}y", true, L"xy");
}

TEST_F(Substitution, Properties) {
    list = {{L"k", L"v"}, {L"k", L"w"}, {L"a,b", L"comma"}, {L"e", L""}};
    expectText(L"${prop.k}", true, L"v");
    expectText(L"<${prop.a,b}>", true, L"<comma>");
    expectText(L"${prop.e}", true, L"");
    expectText(L"${prop.K}", false, L"${prop.K}");
    expectText(L"${other}", false, L"${other}");
    expectText(L"${}", false, L"${}");
}

TEST_F(Substitution, TheScanGoesFromRightToLeftPastUnknownTokens) {
    list = {{L"known", L"K"}};
    expectText(L"${prop.unknown}x${prop.known}", false, L"${prop.unknown}xK");
    expectText(L"${prop.known}x${prop.unknown}", false, L"Kx${prop.unknown}");
    expectText(L"${zel.home}", false, L"${zel.home}");
}

TEST_F(Substitution, ValuesBringInNewTokens) {
    list = {{L"a", L"<${prop.b}>"}, {L"b", L"(${env.X,d})"}};
    expectText(L"${prop.a}-${prop.b}", true, L"<(d)>-(d)");
}

TEST_F(Substitution, ATextThatExpandsToItselfStopsAfterTheEleventhReplacement) {
    list = {{L"a", L"${prop.b}"}, {L"b", L"${prop.a}"}};
    expectText(L"${prop.b}", false, L"${prop.a}");
    std::size_t replacements = 0;
    for (std::size_t at = outcome.log.find("ZLNCH0071I"); at != std::string::npos;
         at = outcome.log.find("ZLNCH0071I", at + 1)) {
        ++replacements;
    }
    EXPECT_EQ(replacements, 11U);
    EXPECT_TRUE(outcome.logHas("ZLNCH0071I: Modified prop_contents ${prop.b} => ${prop.a}"));
}

TEST_F(Substitution, ATextThatGrowsIntoItselfStopsAfterTheEleventhReplacement) {
    list = {{L"a", L"x${prop.a}y"}};
    // The scan stands on the y and goes on to the token in front of it, one place further right.
    std::wstring expected = L"${prop.a}";
    for (int i = 0; i < 11; ++i) {
        expected = L"x" + expected + L"y";
    }
    expectText(L"${prop.a}", false, expected);
}

TEST_F(Substitution, TenReplacementsThatStandStillAreOneTooMany) {
    // Each key brings the next: the first replacement and nine that do not move left.
    for (int i = 0; i < 9; ++i) {
        list.push_back({std::to_wstring(i), L"${prop." + std::to_wstring(i + 1) + L"}"});
    }
    list.push_back({L"9", L"end"});
    expectText(L"${prop.0}", true, L"end");
    list.back().value = L"${env.X,end}";
    expectText(L"${prop.0}", false, L"end");
    expectText(L"-${prop.1}", true, L"-end");
}

TEST_F(Substitution, AMoveToTheLeftBeginsTheCountAnew) {
    list = {{L"end", L"e"}};
    for (int i = 0; i < 8; ++i) {
        list.push_back(
            {std::to_wstring(i), i == 7 ? L"${prop.end}" : L"${prop." + std::to_wstring(i + 1) + L"}"});
    }
    expectText(L"${prop.0}${prop.0}${prop.0}", true, L"eee");
}

TEST_F(Substitution, ATextThatMovesLeftForEverIsInvalid) {
    list = {{L"a", L"${prop.a}${env.E,}"}};
    std::wstring text = L"${prop.a}";
    bool result = true;
    outcome = run([&] { result = zellauncher::substituteProperties(text, list); });
    EXPECT_FALSE(result);
    EXPECT_EQ(outcome.lastLine(), "ZELLauncher> a property text expands without end");
    EXPECT_EQ(linesOf("ZLNCH0071I"), 10001U);  // the first one moves the scan
    outcome = runQuietly([&] { zellauncher::substitutePropertyList(L"C:\\d", L"C:\\h", list); });
    EXPECT_TRUE(outcome.isFatal());
    EXPECT_TRUE(outcome.lastLine().starts_with("ZLNCH0088E: property substitution is invalid ("));
}

TEST_F(Substitution, ATextThatGrowsForEverIsInvalid) {
    list = {{L"a", L"${prop.a}" + std::wstring(5000, L'x') + L"${env.E,}"}};
    std::wstring text = L"${prop.a}";
    bool result = true;
    outcome = run([&] { result = zellauncher::substituteProperties(text, list); });
    EXPECT_FALSE(result);
    EXPECT_EQ(outcome.lastLine(), "ZELLauncher> a property text expands without end");
    EXPECT_GT(text.size(), 3900000U);
    EXPECT_LT(text.size(), 4100000U);
}

TEST_F(Substitution, ValuesThatTogetherGrowForEverAreInvalid) {
    const std::wstring tenfold =
        L"${prop.big}${prop.big}${prop.big}${prop.big}${prop.big}"
        L"${prop.big}${prop.big}${prop.big}${prop.big}${prop.big}";
    list = {{L"big", std::wstring(100000, L'x')}, {L"a", tenfold}, {L"b", tenfold}, {L"c", tenfold}};
    PropertyList bounded = list;
    outcome = runQuietly([&] { zellauncher::substitutePropertyList(L"C:\\d", L"C:\\h", bounded); });
    EXPECT_EQ(outcome.end.status, 0U);
    EXPECT_EQ(bounded.back().value.size(), 1000000U);
    list.insert(list.end(), {{L"d", tenfold}, {L"e", tenfold}});
    outcome = runQuietly([&] { zellauncher::substitutePropertyList(L"C:\\d", L"C:\\h", list); });
    EXPECT_TRUE(outcome.isFatal());
    EXPECT_EQ(list[4].value, L"" + std::wstring(1000000, L'x'));
    EXPECT_EQ(list[5].value, tenfold);

    zellauncher::VmargOverrides overrides;
    for (const wchar_t* key : {L"a", L"b", L"c", L"d", L"e"}) {
        overrides[key] = tenfold;
    }
    outcome = runQuietly(
        [&] { zellauncher::substituteVmArguments(L"C:\\d", L"C:\\h", {list.front()}, overrides); });
    EXPECT_TRUE(outcome.isFatal());
    EXPECT_EQ(overrides[L"e"], tenfold);
}

TEST_F(Substitution, ATextMayGainFourMillionCharacters) {
    EXPECT_EQ(endlessGain(16001), 4000001U);
    EXPECT_EQ(endlessGain(16000), 4016000U);  // the turn before gained four million to the character
}

TEST_F(Substitution, ALongTextWithManyTokensIsNoMatter) {
    list = {{L"k", L"a value"}, {L"two", L"${prop.k}${prop.k}"}};
    std::wstring text;
    std::wstring expected;
    for (int i = 0; i < 100000; ++i) {
        text += L"${prop.k};";
        expected += L"a value;";
    }
    text += L"${prop.two}";
    expected += L"a valuea value";
    expectText(text, true, expected);
    EXPECT_EQ(outcome.log, "");  // the lines would be too long for the log
    expectText(std::wstring(5000000, L'x') + L"${prop.k}", true, std::wstring(5000000, L'x') + L"a value");
}

TEST_F(Substitution, ALongTextOfBrokenTokensIsNoMatterEither) {
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

// The scan as it is described: on one text, each replacement in place.
bool scanPlainly(std::wstring& text, const PropertyList& list) {
    std::ptrdiff_t position = static_cast<std::ptrdiff_t>(text.size()) - 1;
    std::ptrdiff_t lastStart = PTRDIFF_MAX;
    bool isResolved = true;
    for (int stuck = 0;;) {
        std::size_t length = 0;
        std::wstring name;
        const std::ptrdiff_t start = zellauncher::findLastToken(text, position, length, name);
        if (start < 0) {
            return isResolved;
        }
        std::wstring replacement;
        isResolved = zellauncher::resolveToken(name, replacement, list) && isResolved;
        text.replace(static_cast<std::size_t>(start), length, replacement);
        position = isResolved ? start + static_cast<std::ptrdiff_t>(replacement.size()) - 1 : start - 1;
        stuck = start < lastStart ? 0 : stuck + 1;
        if (stuck == 10 || position < -1 || (!isResolved && start == 0)) {
            return false;
        }
        lastStart = start;
    }
}

TEST_F(Substitution, AnyTextComesOutAsItsTokensSay) {
    list = {{L"a", L"${prop.b}x"}, {L"b", L"$"},        {L"c", L"{prop.b}"}, {L"d", L""},
            {L"e", L"prop."},      {L"f", L"${prop.f"}, {L"g", L"}"},        {L"", L"none"}};
    const std::vector<std::wstring> pieces = {
        L"${prop.", L"${", L"$", L"{", L"}", L"a}",    L"b}",        L"c}",        L"d}",       L"e}",
        L"f}",      L"g}", L"a", L"b", L"x", L"prop.", L"${prop.d}", L"${prop.b}", L"${prop.a}"};
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
            ASSERT_EQ(zellauncher::substituteProperties(changed, list), isResolved)
                << std::string(text.begin(), text.end());
            ASSERT_EQ(changed, expected) << std::string(text.begin(), text.end());
        }
    });
}

TEST_F(Substitution, ADollarThatAReplacementBringsMayBeginAToken) {
    list = {{L"d", L"$"}};
    expectText(L"${prop.d}{x}", false, L"${}{x}");
}

TEST_F(Substitution, ALastTokenWithoutATextLeavesNothing) {
    list = {{L"e", L""}};
    expectText(L"${prop.e}", true, L"");
    expectText(L"${prop.e}${prop.e}", true, L"");
}

TEST_F(Substitution, AnEmptyNameOfAVariableOrPropertyHasNoValue) {
    expectText(L"${env.}", false, L"${env.}");
    expectText(L"${env.,default}", true, L"default");
    expectText(L"${prop.}", false, L"${prop.}");
    list = {{L"", L"v"}};
    expectText(L"${prop.}", true, L"v");
}

TEST_F(Substitution, AHugeVariableIsTakenWhole) {
    const std::wstring huge(32000, L'v');
    machine.setEnvironment(L"HUGE", huge);
    expectText(L"<${env.HUGE}>", true, L"<" + huge + L">");
}

TEST_F(Substitution, TokensOfAVariableAreReplacedToo) {
    machine.setEnvironment(L"V", L"${prop.k}");
    list = {{L"k", L"v"}};
    expectText(L"${env.V}", true, L"v");
    expectText(L"${env.W,${prop.k}}", true, L"}");  // no nesting here either
}

TEST_F(Substitution, TokensDoNotNest) {
    list = {{L"b", L"XY"}, {L"aX", L"found"}};
    // The inner token gives XY; the outer name then lacks the last character, and its brace stays.
    expectText(L"${prop.a${prop.b}}", true, L"found}");
}

TEST_F(Substitution, AnUnterminatedTokenLosesItsLastCharacter) {
    expectText(L"${prop.a", false, L"${prop.}");
    expectText(L"${", false, L"${}");
}

TEST_F(Substitution, FindsTheLastTokenInFrontOfAPosition) {
    std::size_t length = 0;
    std::wstring name;
    EXPECT_EQ(zellauncher::findLastToken(L"a${b}c${d}e", 10, length, name), 6);
    EXPECT_EQ(length, 4U);
    EXPECT_EQ(name, L"d");
    EXPECT_EQ(zellauncher::findLastToken(L"a${b}c${d}e", 5, length, name), 1);
    EXPECT_EQ(name, L"b");
    EXPECT_EQ(zellauncher::findLastToken(L"a${b}", 3, length, name), 1);
    EXPECT_EQ(length, 3U);
    EXPECT_EQ(name, L"");
    name = L"kept";
    EXPECT_EQ(zellauncher::findLastToken(L"a${b}", 0, length, name), -1);
    EXPECT_EQ(zellauncher::findLastToken(L"$", 0, length, name), -1);
    EXPECT_EQ(zellauncher::findLastToken(L"${x}", -1, length, name), -1);
    EXPECT_EQ(length, 3U);
    EXPECT_EQ(name, L"kept");
}

TEST_F(Substitution, LocationTokensAreReplacedEverywhere) {
    std::wstring text = L"${zel.home}|${workspace.location}|${zel.data}|${zel.home}|${ZEL.HOME}";
    EXPECT_TRUE(zellauncher::replaceLocationTokens(L"D", L"H", text));
    EXPECT_EQ(text, L"H|D|D|H|${ZEL.HOME}");
    EXPECT_FALSE(zellauncher::replaceLocationTokens(L"D", L"H", text));
}

TEST_F(Substitution, TheHomeIsSearchedForTheLaterTokensAndADirectoryWithItsOwnEnds) {
    std::wstring text = L"${zel.home}";
    EXPECT_TRUE(zellauncher::replaceLocationTokens(L"D", L"<${zel.data}>", text));
    EXPECT_EQ(text, L"<D>");
    text = L"${zel.home}";
    EXPECT_TRUE(zellauncher::replaceLocationTokens(L"D", L"x${zel.home}", text));
    EXPECT_EQ(text, L"x${zel.home}");
}

TEST_F(Substitution, ALocationTokenThatReplacementsLeaveIsReplacedToo) {
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

TEST_F(Substitution, ManyLocationTokensAreNoMatter) {
    std::wstring text;
    std::wstring expected;
    for (int i = 0; i < 100000; ++i) {
        text += L"${zel.home};";
        expected += L"C:/h;";
    }
    EXPECT_TRUE(zellauncher::replaceLocationTokens(L"C:/d", L"C:/h", text));
    EXPECT_EQ(text, expected);
}

TEST_F(Substitution, AListOfLoopingValuesIsFatal) {
    list = {{L"a", L"${prop.b}"}, {L"b", L"${prop.a}"}};
    outcome = run([&] { zellauncher::substitutePropertyList(L"C:\\d", L"C:\\h", list); });
    EXPECT_TRUE(outcome.isFatal());
    EXPECT_EQ(outcome.lastLine(), "ZLNCH0088E: property substitution is invalid (${prop.a})");
}

TEST_F(Substitution, AListLooksTheFirstOfTwoEntriesUp) {
    list = {{L"a", L"${prop.k}"}, {L"k", L"1${env.X,}"}, {L"k", L"2"}};
    run([&] { zellauncher::substitutePropertyList(L"C:\\d", L"C:\\h", list); });
    EXPECT_EQ(list[0].value, L"1");
    EXPECT_EQ(list[1].value, L"1");
    EXPECT_EQ(list[2].value, L"2");
}

TEST_F(Substitution, AListIsSubstitutedInItsOwnOrder) {
    list = {{L"a", L"${zel.home}/x"},
            {L"b", L"${prop.a}:${prop.c}"},
            {L"c", L"${zel.data}"},
            {L"${zel.home}", L"k"}};
    // b brings in the raw value of c, whose location token it does not know.
    outcome = run([&] { zellauncher::substitutePropertyList(L"C:\\d", L"C:\\h", list); });
    EXPECT_TRUE(outcome.isFatal());
    EXPECT_EQ(outcome.lastLine(), "ZLNCH0088E: property substitution is invalid (C:/h/x:${zel.data})");
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

TEST_F(Substitution, OverridesLookTheirPropertiesUpInTheList) {
    list = {{L"k", L"v"}};
    zellauncher::VmargOverrides overrides = {{L"vmarg.a", L"-Da=${prop.k}${zel.data}"}};
    run([&] { zellauncher::substituteVmArguments(L"C:\\d", L"C:\\h", list, overrides); });
    EXPECT_EQ(overrides[L"vmarg.a"], L"-Da=vC:/d");
    overrides = {{L"vmarg.a", L"${prop.x}"}};
    outcome = run([&] { zellauncher::substituteVmArguments(L"C:\\d", L"C:\\h", list, overrides); });
    EXPECT_TRUE(outcome.isFatal());
    EXPECT_EQ(outcome.lastLine(), "ZLNCH0088E: property substitution is invalid (${prop.x})");
}

TEST_F(Substitution, WordsKnowLocationTokensAlone) {
    Arguments words = {L"${zel.home}\\p", L"${env.X}", L"${prop.a}", L"${zel.data}"};
    zellauncher::substituteArguments(L"C:\\d", L"C:\\h", words);
    EXPECT_EQ(words, (Arguments{L"C:/h\\p", L"${env.X}", L"${prop.a}", L"C:/d"}));
}

TEST_F(Substitution, EntriesOfALibraryPathGoUnderTheJavaHome) {
    expectLibraryPath(L"lib/x", L"${prop.java.home}/lib/x");
    expectLibraryPath(L"lib\\x", L"${prop.java.home}/lib/x");
    expectLibraryPath(L"${prop.java.home}/a;b1", L"${prop.java.home}/a;${prop.java.home}/b1");
}

TEST_F(Substitution, ALibraryPathLosesWhatItsSteppingLoses) {
    expectLibraryPath(L"a1;b2;c3", L"${prop.java.home}/a1;${prop.java.home}/b2;");
    expectLibraryPath(L"x;lib/y", L"${prop.java.home}/lib/y");
    expectLibraryPath(L"", L"${prop.java.home}/");
    expectLibraryPath(L"ab;", L"${prop.java.home}/ab");
    expectLibraryPath(L"a", L"");
    expectLibraryPath(L"ab;y", L"${prop.java.home}/ab;");
    expectLibraryPath(L";ab", L"${prop.java.home}/;${prop.java.home}/ab");
    expectLibraryPath(L"ab;;cd", L"${prop.java.home}/ab;${prop.java.home}/;");
    // Behind the second entry the walk goes on at 3 + 1 + 7 = 11, in the middle of the fourth.
    expectLibraryPath(L"ab;long;x;four;five",
                      L"${prop.java.home}/ab;${prop.java.home}/long;"
                      L"${prop.java.home}/our;");
}

}  // namespace
