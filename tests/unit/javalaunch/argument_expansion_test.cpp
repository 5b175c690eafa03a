#include "javalaunch/argument_expansion.h"

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
    launchertest::Outcome outcome;
    bool hasMarker = false;
    std::wstring markerFile;

    Arguments expand(const Arguments& arguments) {
        Arguments effective;
        outcome = run([&] {
            effective = expandHere(arguments, home);
            hasMarker = zellauncher::provDebugHold;
            markerFile = zellauncher::provDebugFile;
        });
        return effective;
    }
    // In the calling process.
    Arguments expandHere(const Arguments& arguments, const std::wstring& zelHome) {
        return zellauncher::expandConfiguredArguments(arguments, launcherProperties, overrides, zelHome);
    }
    std::wstring dataProperty() const {
        const std::wstring* value = zellauncher::lookupProperty(L"zel.data", launcherProperties);
        return value != nullptr ? *value : L"(absent)";
    }
};

TEST_F(ArgumentExpansion, ArgumentsWithoutConfigStay) {
    EXPECT_EQ(expand({L"prog", L"-vm", L"-vm", L"-debug", L"-debug", L"a"}),
              (Arguments{L"prog", L"-vm", L"-vm", L"-debug", L"-debug", L"a"}));
    EXPECT_FALSE(hasMarker);
    EXPECT_EQ(markerFile, marker);
    EXPECT_EQ(expand({L"prog", L"-config"}), (Arguments{L"prog", L"-config"}));
    EXPECT_EQ(expand({L"prog"}), (Arguments{L"prog"}));
    EXPECT_EQ(expand({}), Arguments{});
}

TEST_F(ArgumentExpansion, OverridesAreMoved) {
    EXPECT_EQ(expand({L"prog", L"vmarg.a=1", L"x"}), (Arguments{L"prog", L"x"}));
    EXPECT_EQ(overrides, (VmargOverrides{{L"vmarg.a", L"1"}}));
    expand({L"prog", L"vmarg.b"});
    outcome.expectFatal("ZLNCH0033E: zellauncher invoked with an invalid vmarg.");
}

TEST_F(ArgumentExpansion, ConfigIsReplacedByItsNumberedValues) {
    launcherProperties = {
        {L"config.a.1", L"x"}, {L"config.a.2", L""}, {L"config.a.3", L"y"}, {L"config.a.5", L"z"}};
    EXPECT_EQ(expand({L"prog", L"u", L"-config", L"a", L"v"}), (Arguments{L"prog", L"u", L"v", L"x", L"y"}));
    EXPECT_EQ(expand({L"prog", L"-config", L"A"}), (Arguments{L"prog"}));
    EXPECT_EQ(expand({L"prog", L"-config", L"none"}), (Arguments{L"prog"}));
}

TEST_F(ArgumentExpansion, MoreThanNineValuesKeepTheirOrder) {
    Arguments expected = {L"prog"};
    for (int n = 1; n <= 12; ++n) {
        launcherProperties.push_back({L"config.a." + std::to_wstring(n), L"w" + std::to_wstring(n)});
        expected.push_back(L"w" + std::to_wstring(n));
    }
    EXPECT_EQ(expand({L"prog", L"-config", L"a"}), expected);
}

TEST_F(ArgumentExpansion, ConfiguredArgumentsGoBeforeTheUsersVmargs) {
    launcherProperties = {{L"config.a.1", L"p"}, {L"config.a.2", L"-vmargs"}, {L"config.a.3", L"-Xbar"}};
    EXPECT_EQ(expand({L"prog", L"-config", L"a", L"-vmargs", L"-Xfoo"}),
              (Arguments{L"prog", L"p", L"-vmargs", L"-Xfoo", L"-Xbar"}));
    launcherProperties = {{L"config.a.1", L"p"}, {L"config.a.2", L"q"}};
    EXPECT_EQ(expand({L"prog", L"-config", L"a", L"x", L"-vmargs", L"-Xfoo"}),
              (Arguments{L"prog", L"x", L"p", L"q", L"-vmargs", L"-Xfoo"}));
}

TEST_F(ArgumentExpansion, EveryConfiguredVmargsMergesWithTheUsers) {
    launcherProperties = {{L"config.a.1", L"-vmargs"},
                          {L"config.a.2", L"-Xa"},
                          {L"config.a.3", L"-vmargs"},
                          {L"config.a.4", L"-Xb"}};
    EXPECT_EQ(expand({L"prog", L"-config", L"a", L"-vmargs"}),
              (Arguments{L"prog", L"-vmargs", L"-Xa", L"-Xb"}));
    EXPECT_EQ(expand({L"prog", L"-config", L"a"}),
              (Arguments{L"prog", L"-vmargs", L"-Xa", L"-vmargs", L"-Xb"}));
}

TEST_F(ArgumentExpansion, VmargsBeforeConfigInsertsTwoPlacesTooEarly) {
    launcherProperties = {{L"config.a.1", L"p"}};
    EXPECT_EQ(expand({L"prog", L"-vmargs", L"-Xfoo", L"-config", L"a"}),
              (Arguments{L"prog", L"-vmargs", L"-Xfoo", L"p"}));
    EXPECT_EQ(expand({L"prog", L"x", L"y", L"-vmargs", L"-config", L"a"}),
              (Arguments{L"prog", L"p", L"x", L"y", L"-vmargs"}));
    EXPECT_EQ(expand({L"prog", L"x", L"-vmargs", L"-config", L"a"}),
              (Arguments{L"p", L"prog", L"x", L"-vmargs"}));
}

TEST_F(ArgumentExpansion, LastVmargsIsThePlace) {
    launcherProperties = {{L"config.a.1", L"p"}};
    EXPECT_EQ(expand({L"prog", L"-vmargs", L"-config", L"a", L"b", L"-vmargs"}),
              (Arguments{L"prog", L"-vmargs", L"b", L"p", L"-vmargs"}));
}

TEST_F(ArgumentExpansion, VmargsAsConfigNameIsNoBoundary) {
    launcherProperties = {{L"config.-vmargs.1", L"p"}};
    EXPECT_EQ(expand({L"prog", L"-config", L"-vmargs", L"x"}), (Arguments{L"prog", L"x", L"p"}));
    EXPECT_EQ(expand({L"prog", L"x", L"-vmargs", L"-config", L"-vmargs"}),
              (Arguments{L"p", L"prog", L"x", L"-vmargs"}));
}

TEST_F(ArgumentExpansion, VmargsAmongTheFirstTwoArgumentsIsNoPlace) {
    launcherProperties = {{L"config.a.1", L"p"}};
    EXPECT_EQ(expand({L"-vmargs", L"-config", L"a"}), (Arguments{L"-vmargs", L"p"}));
    EXPECT_EQ(expand({L"prog", L"-vmargs", L"-config", L"a"}), (Arguments{L"prog", L"-vmargs", L"p"}));
}

TEST_F(ArgumentExpansion, PlaceIsFoundBeforeOverridesAreMoved) {
    launcherProperties = {{L"config.a.1", L"p"}};
    EXPECT_EQ(expand({L"prog", L"vmarg.q=1", L"-config", L"a", L"x", L"-vmargs", L"-Xfoo"}),
              (Arguments{L"prog", L"x", L"p", L"-vmargs", L"-Xfoo"}));
    EXPECT_EQ(overrides, (VmargOverrides{{L"vmarg.q", L"1"}}));
}

TEST_F(ArgumentExpansion, OnlyTheFirstConfigIsReplaced) {
    launcherProperties = {{L"config.a.1", L"x"}, {L"config.b.1", L"y"}};
    EXPECT_EQ(expand({L"prog", L"-config", L"a", L"-config", L"b"}),
              (Arguments{L"prog", L"-config", L"b", L"x"}));
    EXPECT_EQ(expand({L"-config", L"a"}), (Arguments{L"-config", L"a"}));  // argument 0 is never an option
    EXPECT_EQ(expand({L"prog", L"-config", L"-config"}), (Arguments{L"prog"}));
}

TEST_F(ArgumentExpansion, SecondOccurrenceOfAOnceOnlyOptionIsRemoved) {
    const Arguments onceOnly = {L"-vm",          L"-data",        L"-plugincustomization",
                                L"-application", L"-personality", L"-nl",
                                L"-dir",         L"-console",     L"-debug",
                                L"-pb4l"};
    for (const std::wstring& option : onceOnly) {
        launcherProperties = {{L"config.c.1", option}, {L"config.c.2", L"v"}, {L"config.c.3", option}};
        EXPECT_EQ(expand({L"prog", option, L"u", L"-config", L"c"}),
                  (Arguments{L"prog", option, L"u", L"v", option}));
    }
    // -product loses its second occurrence twice.
    launcherProperties = {{L"config.c.1", L"-product"},
                          {L"config.c.2", L"v"},
                          {L"config.c.3", L"-product"},
                          {L"config.c.4", L"-product"}};
    EXPECT_EQ(expand({L"prog", L"-product", L"u", L"-config", L"c"}),
              (Arguments{L"prog", L"-product", L"u", L"v", L"-product"}));
}

TEST_F(ArgumentExpansion, LengthAndNumberOfArgumentsAreUnlimited) {
    Arguments arguments = {L"prog", L"-config", L"c", std::wstring(100000, L'x'), L""};
    arguments.resize(20005, L"w");
    launcherProperties = {{L"config.c.1", std::wstring(100000, L'y')}};
    const Arguments result = expand(arguments);
    ASSERT_EQ(result.size(), arguments.size() - 1);
    EXPECT_EQ(result[1], arguments[3]);
    EXPECT_EQ(result[2], L"");
    EXPECT_EQ(result.back(), std::wstring(100000, L'y'));
}

TEST_F(ArgumentExpansion, RemovedOptionsLeaveTheirValues) {
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

TEST_F(ArgumentExpansion, FirstDataArgumentReplacesTheProperty) {
    launcherProperties = {{L"zel.data", L"old"}, {L"config.c.1", L"-data"}, {L"config.c.2", L"new"}};
    expand({L"prog", L"-config", L"c"});
    EXPECT_EQ(dataProperty(), L"new");
    launcherProperties = {{L"zel.data", L"old"}, {L"config.c.1", L"x"}};
    expand({L"prog", L"-config", L"c"});
    EXPECT_EQ(dataProperty(), L"old");
    launcherProperties = {{L"zel.data", L"old"}, {L"config.c.1", L"-data"}};
    expand({L"prog", L"-config", L"c"});
    EXPECT_EQ(dataProperty(), L"old");
    launcherProperties = {{L"config.c.1", L"-data"}, {L"config.c.2", L"new"}};
    expand({L"prog", L"-config", L"c"});
    EXPECT_EQ(dataProperty(), L"(absent)");
}

TEST_F(ArgumentExpansion, UsersDataArgumentBeatsTheConfiguredOne) {
    launcherProperties = {
        {L"zel.data", L"old"}, {L"zel.data", L"second"}, {L"config.c.1", L"-data"}, {L"config.c.2", L"b"}};
    EXPECT_EQ(expand({L"prog", L"-data", L"a", L"-config", L"c"}),
              (Arguments{L"prog", L"-data", L"a", L"b"}));
    EXPECT_EQ(launcherProperties[0].value, L"a");
    EXPECT_EQ(launcherProperties[1].value, L"second");
}

TEST_F(ArgumentExpansion, DataArgumentMayBeAnOverrideOrEmpty) {
    launcherProperties = {{L"zel.data", L"old"}};
    EXPECT_EQ(expand({L"prog", L"-data", L"vmarg.a=1", L"-config", L"c"}), (Arguments{L"prog", L"-data"}));
    EXPECT_EQ(launcherProperties[0].value, L"vmarg.a=1");
    expand({L"prog", L"-config", L"c", L"-data", L""});
    EXPECT_EQ(launcherProperties[0].value, L"");
}

TEST_F(ArgumentExpansion, DataArgumentWithoutConfigLeavesTheProperty) {
    launcherProperties = {{L"zel.data", L"old"}};
    expand({L"prog", L"-data", L"new"});
    EXPECT_EQ(dataProperty(), L"old");
}

TEST_F(ArgumentExpansion, UsersOverridesBeatConfiguredOnes) {
    launcherProperties = {{L"config.c.1", L"vmarg.a=2"}, {L"config.c.2", L"vmarg.b=3"}};
    EXPECT_EQ(expand({L"prog", L"vmarg.a=1", L"-config", L"c"}), (Arguments{L"prog"}));
    EXPECT_EQ(overrides, (VmargOverrides{{L"vmarg.a", L"1"}, {L"vmarg.b", L"3"}}));
    launcherProperties = {{L"config.c.1", L"vmarg.x"}};
    expand({L"prog", L"-config", L"c"});
    outcome.expectFatal("ZLNCH0128E: zellauncher invoked with an invalid vmarg.");
}

TEST_F(ArgumentExpansion, DebugMarkerAddsItsOptions) {
    machine.writeFile(marker, "");
    EXPECT_EQ(expand({L"prog", L"a"}),
              (Arguments{L"prog", L"-debugFile", L"-pb4l", L"-debug", L"-console", L"a"}));
    EXPECT_TRUE(hasMarker);
    EXPECT_EQ(expand({L"prog", L"-pb4l", L"a"}),
              (Arguments{L"prog", L"-debugFile", L"-pb4l", L"-debug", L"-console", L"a"}));
    EXPECT_EQ(
        expand({L"prog", L"-debug", L"-console", L"-debugFile", L"-debug"}),
        (Arguments{L"prog", L"-debugFile", L"-pb4l", L"-debug", L"-console", L"-debugFile", L"-debug"}));
}

TEST_F(ArgumentExpansion, DebugMarkerNeedsNoProgramArgument) {
    machine.writeFile(marker, "");
    EXPECT_EQ(expand({}), (Arguments{L"-debugFile", L"-pb4l", L"-debug", L"-console"}));
}

TEST_F(ArgumentExpansion, DebugMarkerIsFoundWithForwardSlashes) {
    machine.writeFile(marker, "");
    run([&] {
        expandHere({L"prog"}, L"C:/Apps/framework/Client");
        EXPECT_TRUE(zellauncher::provDebugHold);
        EXPECT_EQ(zellauncher::provDebugFile, marker);
        machine.remove(marker);
        EXPECT_EQ(expandHere({L"prog"}, home), (Arguments{L"prog"}));
        EXPECT_FALSE(zellauncher::provDebugHold);
    });
}

TEST_F(ArgumentExpansion, ConfigSkipsTheDebugMarker) {
    machine.writeFile(marker, "");
    EXPECT_EQ(expand({L"prog", L"-config", L"a", L"x"}), (Arguments{L"prog", L"x"}));
    EXPECT_FALSE(hasMarker);
}

// On a first run, whose expansion is the second one of the process.
TEST_F(ArgumentExpansion, ConfigKeepsAMarkerThatWasFoundBefore) {
    machine.writeFile(marker, "");
    run([&] {
        expandHere({L"prog"}, home);
        EXPECT_EQ(expandHere({L"prog", L"-config", L"a", L"-debug"}, home),
                  (Arguments{L"prog", L"-debugFile", L"-pb4l", L"-debug", L"-console"}));
    });
}

}  // namespace
