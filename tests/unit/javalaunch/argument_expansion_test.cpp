#include "javalaunch/argument_expansion.h"

#include <gtest/gtest.h>

#include "launch/launch_state.h"
#include "support/launcher_fixture.h"

namespace {

using zellauncher::Arguments;
using zellauncher::PropertyList;
using zellauncher::VmargOverrides;

constexpr const wchar_t* home = L"C:\\Apps\\framework\\Client";
constexpr const wchar_t* marker = L"C:\\Apps\\framework\\Client\\zel\\prov.debug\\debug.txt";

class ArgumentExpansion : public launchertest::OnMachine {
protected:
    PropertyList launcherProperties;
    VmargOverrides overrides;
    Arguments effective = {L"former"};
    launchertest::Outcome outcome;

    Arguments expand(const Arguments& arguments) {
        outcome = run([&] {
            zellauncher::expandConfiguredArguments(effective, arguments, launcherProperties, overrides, home);
            marksHold = zellauncher::provDebugHold;
            markerFile = zellauncher::provDebugFile;
        });
        return effective;
    }
    bool marksHold = false;
    std::wstring markerFile;
};

TEST_F(ArgumentExpansion, WithoutAConfigurationTheWordsStand) {
    EXPECT_EQ(expand({L"prog", L"-vm", L"-vm", L"-debug", L"-debug", L"a"}),
              (Arguments{L"prog", L"-vm", L"-vm", L"-debug", L"-debug", L"a"}));
    EXPECT_FALSE(marksHold);
    EXPECT_EQ(markerFile, marker);
    EXPECT_EQ(expand({L"prog", L"-config"}), (Arguments{L"prog", L"-config"}));
    EXPECT_EQ(expand({L"prog"}), (Arguments{L"prog"}));
    EXPECT_EQ(expand({}), Arguments{});
}

TEST_F(ArgumentExpansion, OverridesAreTakenOut) {
    EXPECT_EQ(expand({L"prog", L"vmarg.a=1", L"x"}), (Arguments{L"prog", L"x"}));
    EXPECT_EQ(overrides, (VmargOverrides{{L"vmarg.a", L"1"}}));
    expand({L"prog", L"vmarg.b"});
    EXPECT_TRUE(outcome.isFatal());
    EXPECT_EQ(outcome.lastLine(), "ZLNCH0033E: zellauncher invoked with an invalid vmarg.");
}

TEST_F(ArgumentExpansion, AConfigurationStandsForItsNumberedWords) {
    launcherProperties = {
        {L"config.a.1", L"x"}, {L"config.a.2", L""}, {L"config.a.3", L"y"}, {L"config.a.5", L"z"}};
    EXPECT_EQ(expand({L"prog", L"u", L"-config", L"a", L"v"}), (Arguments{L"prog", L"u", L"v", L"x", L"y"}));
    EXPECT_EQ(expand({L"prog", L"-config", L"A"}), (Arguments{L"prog"}));
    EXPECT_EQ(expand({L"prog", L"-config", L"none"}), (Arguments{L"prog"}));
}

TEST_F(ArgumentExpansion, MoreThanNineWordsKeepTheirOrder) {
    Arguments expected = {L"prog"};
    for (int n = 1; n <= 12; ++n) {
        launcherProperties.push_back({L"config.a." + std::to_wstring(n), L"w" + std::to_wstring(n)});
        expected.push_back(L"w" + std::to_wstring(n));
    }
    EXPECT_EQ(expand({L"prog", L"-config", L"a"}), expected);
}

TEST_F(ArgumentExpansion, ConfiguredWordsStandInFrontOfTheUsersVmargs) {
    launcherProperties = {{L"config.a.1", L"p"}, {L"config.a.2", L"-vmargs"}, {L"config.a.3", L"-Xbar"}};
    EXPECT_EQ(expand({L"prog", L"-config", L"a", L"-vmargs", L"-Xfoo"}),
              (Arguments{L"prog", L"p", L"-vmargs", L"-Xfoo", L"-Xbar"}));
    launcherProperties = {{L"config.a.1", L"p"}, {L"config.a.2", L"q"}};
    EXPECT_EQ(expand({L"prog", L"-config", L"a", L"x", L"-vmargs", L"-Xfoo"}),
              (Arguments{L"prog", L"x", L"p", L"q", L"-vmargs", L"-Xfoo"}));
}

TEST_F(ArgumentExpansion, ASecondConfiguredVmargsIsNoWordEither) {
    launcherProperties = {{L"config.a.1", L"-vmargs"},
                          {L"config.a.2", L"-Xa"},
                          {L"config.a.3", L"-vmargs"},
                          {L"config.a.4", L"-Xb"}};
    EXPECT_EQ(expand({L"prog", L"-config", L"a", L"-vmargs"}),
              (Arguments{L"prog", L"-vmargs", L"-Xa", L"-Xb"}));
    EXPECT_EQ(expand({L"prog", L"-config", L"a"}),
              (Arguments{L"prog", L"-vmargs", L"-Xa", L"-vmargs", L"-Xb"}));
}

TEST_F(ArgumentExpansion, AVmargsInFrontOfTheConfigurationCountsTwoPlacesTooFarLeft) {
    launcherProperties = {{L"config.a.1", L"p"}};
    EXPECT_EQ(expand({L"prog", L"-vmargs", L"-Xfoo", L"-config", L"a"}),
              (Arguments{L"prog", L"-vmargs", L"-Xfoo", L"p"}));
    EXPECT_EQ(expand({L"prog", L"x", L"y", L"-vmargs", L"-config", L"a"}),
              (Arguments{L"prog", L"p", L"x", L"y", L"-vmargs"}));
    EXPECT_EQ(expand({L"prog", L"x", L"-vmargs", L"-config", L"a"}),
              (Arguments{L"p", L"prog", L"x", L"-vmargs"}));
}

TEST_F(ArgumentExpansion, TheLastVmargsDecides) {
    launcherProperties = {{L"config.a.1", L"p"}};
    EXPECT_EQ(expand({L"prog", L"-vmargs", L"-config", L"a", L"b", L"-vmargs"}),
              (Arguments{L"prog", L"-vmargs", L"b", L"p", L"-vmargs"}));
}

TEST_F(ArgumentExpansion, TheNameOfAConfigurationIsNoVmargs) {
    launcherProperties = {{L"config.-vmargs.1", L"p"}};
    EXPECT_EQ(expand({L"prog", L"-config", L"-vmargs", L"x"}), (Arguments{L"prog", L"x", L"p"}));
    EXPECT_EQ(expand({L"prog", L"x", L"-vmargs", L"-config", L"-vmargs"}),
              (Arguments{L"p", L"prog", L"x", L"-vmargs"}));
}

TEST_F(ArgumentExpansion, AVmargsAsTheFirstWordsLeavesThePlaceOpen) {
    launcherProperties = {{L"config.a.1", L"p"}};
    EXPECT_EQ(expand({L"-vmargs", L"-config", L"a"}), (Arguments{L"-vmargs", L"p"}));
    EXPECT_EQ(expand({L"prog", L"-vmargs", L"-config", L"a"}), (Arguments{L"prog", L"-vmargs", L"p"}));
}

TEST_F(ArgumentExpansion, OverridesAmongTheWordsCountForThePlace) {
    launcherProperties = {{L"config.a.1", L"p"}};
    EXPECT_EQ(expand({L"prog", L"vmarg.q=1", L"-config", L"a", L"x", L"-vmargs", L"-Xfoo"}),
              (Arguments{L"prog", L"x", L"p", L"-vmargs", L"-Xfoo"}));
    EXPECT_EQ(overrides, (VmargOverrides{{L"vmarg.q", L"1"}}));
}

TEST_F(ArgumentExpansion, OnlyTheFirstConfigurationCounts) {
    launcherProperties = {{L"config.a.1", L"x"}, {L"config.b.1", L"y"}};
    EXPECT_EQ(expand({L"prog", L"-config", L"a", L"-config", L"b"}),
              (Arguments{L"prog", L"-config", L"b", L"x"}));
    EXPECT_EQ(expand({L"-config", L"a"}), (Arguments{L"-config", L"a"}));  // the program is no option
    EXPECT_EQ(expand({L"prog", L"-config", L"-config"}), (Arguments{L"prog"}));
}

TEST_F(ArgumentExpansion, EveryOnceOnlyWordLosesItsSecondOccurrence) {
    const Arguments onceOnly = {L"-vm",          L"-data",        L"-plugincustomization",
                                L"-application", L"-personality", L"-nl",
                                L"-dir",         L"-console",     L"-debug",
                                L"-pb4l"};
    for (const std::wstring& word : onceOnly) {
        launcherProperties = {{L"config.c.1", word}, {L"config.c.2", L"v"}, {L"config.c.3", word}};
        EXPECT_EQ(expand({L"prog", word, L"u", L"-config", L"c"}),
                  (Arguments{L"prog", word, L"u", L"v", word}));
    }
    launcherProperties = {{L"config.c.1", L"-product"},
                          {L"config.c.2", L"v"},
                          {L"config.c.3", L"-product"},
                          {L"config.c.4", L"-product"}};
    EXPECT_EQ(expand({L"prog", L"-product", L"u", L"-config", L"c"}),
              (Arguments{L"prog", L"-product", L"u", L"v", L"-product"}));
}

TEST_F(ArgumentExpansion, WordsOfAnyLengthAndNumberPass) {
    Arguments words = {L"prog", L"-config", L"c", std::wstring(100000, L'x'), L""};
    for (int i = 0; i < 20000; ++i) {
        words.push_back(L"w");
    }
    launcherProperties = {{L"config.c.1", std::wstring(100000, L'y')}};
    const Arguments result = expand(words);
    ASSERT_EQ(result.size(), words.size() - 1);
    EXPECT_EQ(result[1], words[3]);
    EXPECT_EQ(result[2], L"");
    EXPECT_EQ(result.back(), std::wstring(100000, L'y'));
}

TEST_F(ArgumentExpansion, SecondOccurrencesOfSomeWordsGoAndLeaveTheirValues) {
    launcherProperties = {
        {L"config.c.1", L"-data"},    {L"config.c.2", L"b"},        {L"config.c.3", L"-vm"},
        {L"config.c.4", L"-product"}, {L"config.c.5", L"-product"}, {L"config.c.6", L"-nl"},
        {L"config.c.7", L"-dir"},     {L"config.c.8", L"-console"}, {L"config.c.9", L"-other"}};
    EXPECT_EQ(expand({L"prog", L"-data", L"a", L"-vm", L"-product", L"-nl", L"-dir", L"-console", L"-other",
                      L"-config", L"c"}),
              (Arguments{L"prog", L"-data", L"a", L"-vm", L"-product", L"-nl", L"-dir", L"-console",
                         L"-other", L"b", L"-other"}));
    launcherProperties = {{L"config.d.1", L"-vm"}, {L"config.d.2", L"-vm"}, {L"config.d.3", L"-debug"}};
    EXPECT_EQ(expand({L"prog", L"-vm", L"-debug", L"-config", L"d"}),
              (Arguments{L"prog", L"-vm", L"-debug", L"-vm"}));
}

TEST_F(ArgumentExpansion, TheFirstDataWordReplacesTheProperty) {
    launcherProperties = {{L"zel.data", L"old"}, {L"config.c.1", L"-data"}, {L"config.c.2", L"new"}};
    expand({L"prog", L"-config", L"c"});
    EXPECT_EQ(*zellauncher::lookupProperty(L"zel.data", launcherProperties), L"new");
    launcherProperties = {{L"zel.data", L"old"}, {L"config.c.1", L"x"}};
    expand({L"prog", L"-config", L"c"});
    EXPECT_EQ(*zellauncher::lookupProperty(L"zel.data", launcherProperties), L"old");
    launcherProperties = {{L"zel.data", L"old"}, {L"config.c.1", L"-data"}};
    expand({L"prog", L"-config", L"c"});
    EXPECT_EQ(*zellauncher::lookupProperty(L"zel.data", launcherProperties), L"old");
    launcherProperties = {{L"config.c.1", L"-data"}, {L"config.c.2", L"new"}};
    expand({L"prog", L"-config", L"c"});
    EXPECT_EQ(zellauncher::lookupProperty(L"zel.data", launcherProperties), nullptr);
}

TEST_F(ArgumentExpansion, TheDataWordOfTheUserBeatsTheConfiguredOne) {
    launcherProperties = {
        {L"zel.data", L"old"}, {L"zel.data", L"second"}, {L"config.c.1", L"-data"}, {L"config.c.2", L"b"}};
    EXPECT_EQ(expand({L"prog", L"-data", L"a", L"-config", L"c"}),
              (Arguments{L"prog", L"-data", L"a", L"b"}));
    EXPECT_EQ(launcherProperties[0].value, L"a");
    EXPECT_EQ(launcherProperties[1].value, L"second");
}

TEST_F(ArgumentExpansion, ADataWordMayBeAnOverrideOrEmpty) {
    launcherProperties = {{L"zel.data", L"old"}};
    EXPECT_EQ(expand({L"prog", L"-data", L"vmarg.a=1", L"-config", L"c"}), (Arguments{L"prog", L"-data"}));
    EXPECT_EQ(launcherProperties[0].value, L"vmarg.a=1");
    expand({L"prog", L"-config", L"c", L"-data", L""});
    EXPECT_EQ(launcherProperties[0].value, L"");
}

TEST_F(ArgumentExpansion, ADataWordWithoutAConfigurationLeavesTheProperty) {
    launcherProperties = {{L"zel.data", L"old"}};
    expand({L"prog", L"-data", L"new"});
    EXPECT_EQ(*zellauncher::lookupProperty(L"zel.data", launcherProperties), L"old");
}

TEST_F(ArgumentExpansion, ConfiguredOverridesAreTakenOutLast) {
    launcherProperties = {{L"config.c.1", L"vmarg.a=2"}, {L"config.c.2", L"vmarg.b=3"}};
    EXPECT_EQ(expand({L"prog", L"vmarg.a=1", L"-config", L"c"}), (Arguments{L"prog"}));
    EXPECT_EQ(overrides, (VmargOverrides{{L"vmarg.a", L"1"}, {L"vmarg.b", L"3"}}));
    launcherProperties = {{L"config.c.1", L"vmarg.x"}};
    expand({L"prog", L"-config", L"c"});
    EXPECT_TRUE(outcome.isFatal());
    EXPECT_EQ(outcome.lastLine(), "ZLNCH0128E: zellauncher invoked with an invalid vmarg.");
}

TEST_F(ArgumentExpansion, TheDebugMarkerBringsItsOptions) {
    machine.writeFile(marker, "");
    EXPECT_EQ(expand({L"prog", L"a"}),
              (Arguments{L"prog", L"-debugFile", L"-pb4l", L"-debug", L"-console", L"a"}));
    EXPECT_TRUE(marksHold);
    EXPECT_EQ(expand({L"prog", L"-pb4l", L"a"}),
              (Arguments{L"prog", L"-debugFile", L"-pb4l", L"-debug", L"-console", L"a"}));
    EXPECT_EQ(
        expand({L"prog", L"-debug", L"-console", L"-debugFile", L"-debug"}),
        (Arguments{L"prog", L"-debugFile", L"-pb4l", L"-debug", L"-console", L"-debugFile", L"-debug"}));
}

TEST_F(ArgumentExpansion, TheMarkersOptionsNeedNoProgramInFrontOfThem) {
    machine.writeFile(marker, "");
    EXPECT_EQ(expand({}), (Arguments{L"-debugFile", L"-pb4l", L"-debug", L"-console"}));
}

TEST_F(ArgumentExpansion, TheMarkerIsFoundThroughAHomeWithForwardSlashes) {
    machine.writeFile(marker, "");
    run([&] {
        zellauncher::expandConfiguredArguments(effective, {L"prog"}, launcherProperties, overrides,
                                               L"C:/Apps/framework/Client");
        EXPECT_TRUE(zellauncher::provDebugHold);
        EXPECT_EQ(zellauncher::provDebugFile, marker);
        machine.remove(marker);
        zellauncher::expandConfiguredArguments(effective, {L"prog"}, launcherProperties, overrides, home);
        EXPECT_FALSE(zellauncher::provDebugHold);
    });
    EXPECT_EQ(effective, (Arguments{L"prog"}));
}

TEST_F(ArgumentExpansion, AConfigurationDoesNotLookForTheMarker) {
    machine.writeFile(marker, "");
    EXPECT_EQ(expand({L"prog", L"-config", L"a", L"x"}), (Arguments{L"prog", L"x"}));
    EXPECT_FALSE(marksHold);
    // An earlier pass without a configuration has found it.
    run([&] {
        zellauncher::expandConfiguredArguments(effective, {L"prog"}, launcherProperties, overrides, home);
        zellauncher::expandConfiguredArguments(effective, {L"prog", L"-config", L"a", L"-debug"},
                                               launcherProperties, overrides, home);
    });
    EXPECT_EQ(effective, (Arguments{L"prog", L"-debugFile", L"-pb4l", L"-debug", L"-console"}));
}

}  // namespace
