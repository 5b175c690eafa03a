#include "configuration/first_run_decision.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "configuration/install_kind.h"
#include "support/launcher_fixture.h"
#include "support/property_lists.h"
#include "support/text.h"

namespace {

using launchertest::toUtf8;
using launchertest::withoutKey;
using zellauncher::InstallConfigurationKind;
using zellauncher::PropertyList;

constexpr const char* noFlag = "ZLNCH0115E: Invalid config.initial arguments. -initialCompleteFlag not found";

class FirstRunDecision : public launchertest::OnMachine {
protected:
    PropertyList launcher = {{L"config.initial.1", L"-application"},
                             {L"config.initial.2", L"com.example.setup"},
                             {L"config.initial.3", L"-initialCompleteFlag"},
                             {L"config.initial.4", L"setup.done"}};
    PropertyList install;
    InstallConfigurationKind kind = InstallConfigurationKind::user;
    launchertest::Outcome outcome;

    bool isDue() {
        bool answer = false;
        outcome = run([&] {
            zellauncher::InstallConfiguration = kind;
            answer = zellauncher::readInitialConfiguration(launcher, install);
        });
        return answer;
    }
    void expectFatal(const std::string& message) {
        isDue();
        outcome.expectFatal(message);
    }
};

TEST_F(FirstRunDecision, RunIsDueUntilItsPropertyIsTrue) {
    EXPECT_TRUE(isDue());
    for (const wchar_t* value : {L"TRUE", L"", L"tru", L"false", L" true"}) {
        install = {{L"setup.done", value}};
        EXPECT_TRUE(isDue()) << toUtf8(value);
    }
    for (const wchar_t* value : {L"true", L"truest"}) {
        install = {{L"setup.done", value}};
        EXPECT_FALSE(isDue()) << toUtf8(value);
    }
    install = {{L"Setup.done", L"true"}};
    EXPECT_TRUE(isDue());
}

TEST_F(FirstRunDecision, ThreeKindsHaveAFirstRun) {
    for (int number = 1; number <= 8; ++number) {
        kind = static_cast<InstallConfigurationKind>(number);
        EXPECT_EQ(isDue(), number == 3 || number == 6 || number == 8) << "kind " << number;
    }
}

TEST_F(FirstRunDecision, NoRunIsDueWithoutAList) {
    launcher = {{L"config.initial", L"x"}, {L"config.initials.1", L"y"}, {L"Config.initial.1", L"z"}};
    EXPECT_FALSE(isDue());
    EXPECT_EQ(outcome.log, "");
}

TEST_F(FirstRunDecision, EntriesAreOrderedByTheirNumbers) {
    const PropertyList ascending = launcher;
    launcher.clear();
    for (std::size_t i = ascending.size(); i-- > 0;) {
        launcher.push_back(ascending[i]);
    }
    EXPECT_TRUE(isDue());
    EXPECT_EQ(outcome.processEnd().status, 0U);
}

TEST_F(FirstRunDecision, MissingNumberIsFatal) {
    launcher = withoutKey(launcher, L"config.initial.2");
    expectFatal("ZLNCH0114E: Invalid config.initial arguments. config.initial.2 not found");
}

TEST_F(FirstRunDecision, PrefixOfALongerNumberIsEnough) {
    launcher = {{L"config.initial.10", L"-initialCompleteFlag"}, {L"config.initial.2", L"setup.done"}};
    EXPECT_TRUE(isDue());
    install = {{L"setup.done", L"true"}};
    EXPECT_FALSE(isDue());
}

TEST_F(FirstRunDecision, FlagWithoutAFollowingEntryIsFatal) {
    launcher = {{L"config.initial.1", L"a"}, {L"config.initial.2", L"-initialCompleteFlag"}};
    expectFatal(noFlag);
    launcher = {{L"config.initial.1", L"a"}, {L"config.initial.2", L"b"}};
    expectFatal(noFlag);
}

TEST_F(FirstRunDecision, FlagIsRecognizedByItsPrefix) {
    launcher.setValue(2, L"-initialCompleteFlagX");
    EXPECT_TRUE(isDue());
    EXPECT_EQ(outcome.processEnd().status, 0U);
}

TEST_F(FirstRunDecision, EmptyValueEndsTheCount) {
    launcher.setValue(0, L"");
    expectFatal(noFlag);
    launcher.setValue(0, L"-initialCompleteFlag");
    launcher.setValue(1, L"name");
    launcher.setValue(2, L"");
    EXPECT_TRUE(isDue());
    EXPECT_EQ(outcome.processEnd().status, 0U);
}

TEST_F(FirstRunDecision, FlagAsAKeyIsIgnored) {
    launcher = {{L"config.initial.1", L"a"}, {L"config.initial.2", L"b"}, {L"-initialCompleteFlag", L"x"}};
    expectFatal(noFlag);
}

TEST_F(FirstRunDecision, FirstFlagIsUsed) {
    launcher = {{L"config.initial.1", L"-initialCompleteFlag"},
                {L"config.initial.2", L"first.done"},
                {L"config.initial.3", L"-initialCompleteFlag"},
                {L"config.initial.4", L"second.done"}};
    install = {{L"second.done", L"true"}};
    EXPECT_TRUE(isDue());
    install = {{L"first.done", L"true"}};
    EXPECT_FALSE(isDue());
}

TEST_F(FirstRunDecision, FirstEntryOfThePropertyIsUsed) {
    install = {{L"setup.done", L"true"}, {L"setup.done", L"false"}};
    EXPECT_FALSE(isDue());
    install = {{L"setup.done", L"false"}, {L"setup.done", L"true"}};
    EXPECT_TRUE(isDue());
}

TEST_F(FirstRunDecision, RepeatedNumberLeavesALaterOneMissing) {
    launcher.push_back({L"config.initial.4", L"other.done"});
    expectFatal("ZLNCH0114E: Invalid config.initial arguments. config.initial.5 not found");
}

TEST_F(FirstRunDecision, FirstEntryOfANumberIsUsed) {
    launcher = {{L"config.initial.1", L"-initialCompleteFlag"},
                {L"config.initial.20", L"first.done"},
                {L"config.initial.2", L"second.done"}};
    for (int n = 3; n < 20; ++n) {
        launcher.push_back({L"config.initial." + std::to_wstring(n), L"x"});
    }
    EXPECT_TRUE(isDue());
    install = {{L"second.done", L"true"}};
    EXPECT_TRUE(isDue());
    install = {{L"first.done", L"true"}};
    EXPECT_FALSE(isDue());
}

TEST_F(FirstRunDecision, FlagNeedsANonEmptyName) {
    launcher = {{L"config.initial.1", L"-initialCompleteFlag"}, {L"config.initial.2", L""}};
    expectFatal(noFlag);  // the count ends at the empty name
    launcher = {{L"config.initial.1", L"-initialCompleteFlag"}};
    expectFatal(noFlag);
}

TEST_F(FirstRunDecision, TwelveNumbersAreTakenInOrder) {
    launcher.clear();
    for (int n = 1; n <= 12; ++n) {
        const wchar_t* value = n == 11 ? L"-initialCompleteFlag" : n == 12 ? L"setup.done" : L"x";
        launcher.push_back({L"config.initial." + std::to_wstring(n), value});
    }
    EXPECT_TRUE(isDue());
    install = {{L"setup.done", L"true"}};
    EXPECT_FALSE(isDue());
}

TEST_F(FirstRunDecision, OtherKindsIgnoreADamagedList) {
    kind = InstallConfigurationKind::service;
    launcher = {{L"config.initial.2", L"x"}};
    EXPECT_FALSE(isDue());
    EXPECT_EQ(outcome.processEnd().status, 0U);
    EXPECT_EQ(outcome.log, "");
}

}  // namespace
