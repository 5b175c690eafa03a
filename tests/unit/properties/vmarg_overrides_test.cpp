#include "properties/vmarg_overrides.h"

#include <gtest/gtest.h>

#include "support/launcher_fixture.h"

namespace {

using zellauncher::Arguments;
using zellauncher::collectVmArguments;
using zellauncher::PropertyList;
using zellauncher::VmargOverrides;

class Overrides : public launchertest::OnMachine {
protected:
    VmargOverrides overrides;
};

TEST_F(Overrides, AreRemovedFromTheArguments) {
    const Arguments others = collectVmArguments(
        overrides, {L"prog", L"vmarg.Dfoo=-Dfoo=bar=baz", L"x", L"VMARG.x=1", L"vmarg.=x", L"vmarg.e="});
    EXPECT_EQ(others, (Arguments{L"prog", L"x", L"VMARG.x=1"}));
    EXPECT_EQ(overrides,
              (VmargOverrides{{L"vmarg.Dfoo", L"-Dfoo=bar=baz"}, {L"vmarg.", L"x"}, {L"vmarg.e", L""}}));
}

TEST_F(Overrides, FirstSourceOfANameWins) {
    collectVmArguments(overrides, {L"vmarg.a=1", L"vmarg.a=2"});
    Arguments arguments = {L"vmarg.a=3", L"vmarg.b=4", L"y"};
    zellauncher::collectVmWords(overrides, arguments);
    PropertyList list = {{L"vmarg.a", L"5"}, {L"k", L"v"}, {L"vmarg.c", L""}, {L"vmarg.c", L"6"}};
    zellauncher::collectVmProperties(overrides, list);
    EXPECT_EQ(arguments, (Arguments{L"y"}));
    ASSERT_EQ(list.size(), 1U);
    EXPECT_EQ(list[0].key, L"k");
    EXPECT_EQ(overrides, (VmargOverrides{{L"vmarg.a", L"1"}, {L"vmarg.b", L"4"}, {L"vmarg.c", L""}}));
}

TEST_F(Overrides, AreOrderedByCodeUnits) {
    collectVmArguments(overrides, {L"vmarg.b=1", L"vmarg.\uFFFF=2", L"vmarg.ba=3", L"vmarg.B=4"});
    std::vector<std::wstring> keys;
    for (const auto& [key, value] : overrides) {
        keys.push_back(key);
    }
    EXPECT_EQ(keys, (std::vector<std::wstring>{L"vmarg.B", L"vmarg.b", L"vmarg.ba", L"vmarg.\uFFFF"}));
}

TEST_F(Overrides, WithoutAnEqualsSignAreFatal) {
    auto outcome = run([&] { collectVmArguments(overrides, {L"prog", L"vmarg.x"}); });
    outcome.expectFatal("ZLNCH0033E: zellauncher invoked with an invalid vmarg.");
    outcome = run([&] {
        Arguments arguments = {L"prog", L"vmarg.x"};
        zellauncher::collectVmWords(overrides, arguments);
    });
    outcome.expectFatal("ZLNCH0128E: zellauncher invoked with an invalid vmarg.");
}

}  // namespace
