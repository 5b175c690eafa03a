#include "properties/substitution.h"

#include <gtest/gtest.h>

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

TEST_F(Substitution, ATextThatMovesLeftForEverIsInvalid) {
    list = {{L"a", L"${prop.a}${env.E,}"}};
    std::wstring text = L"${prop.a}";
    bool result = true;
    runQuietly([&] { result = zellauncher::substituteProperties(text, list); });
    EXPECT_FALSE(result);
}

TEST_F(Substitution, ATextThatGrowsForEverIsInvalid) {
    list = {{L"a", L"${prop.a}" + std::wstring(900, L'x') + L"${env.E,}"}};
    std::wstring text = L"${prop.a}";
    bool result = true;
    runQuietly([&] { result = zellauncher::substituteProperties(text, list); });
    EXPECT_FALSE(result);
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
    EXPECT_EQ(zellauncher::findLastToken(L"a${b}", 0, length, name), -1);
    EXPECT_EQ(zellauncher::findLastToken(L"$", 0, length, name), -1);
    EXPECT_EQ(zellauncher::findLastToken(L"${x}", -1, length, name), -1);
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
}

}  // namespace
