#include "configuration/initial_configuration.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "configuration/install_configuration.h"
#include "support/launcher_fixture.h"

namespace {

using zellauncher::InstallConfigurationKind;
using zellauncher::PropertyList;

constexpr const char* noFlag = "ZLNCH0115E: Invalid config.initial arguments. -initialCompleteFlag not found";

class InitialConfiguration : public launchertest::OnMachine {
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
        EXPECT_TRUE(outcome.isFatal());
        EXPECT_EQ(outcome.lastLine(), message);
    }
};

TEST_F(InitialConfiguration, IsDueUntilItsPropertyIsTrue) {
    EXPECT_TRUE(isDue());
    for (const wchar_t* value : {L"TRUE", L"", L"tru", L"false", L" true"}) {
        install = {{L"setup.done", value}};
        EXPECT_TRUE(isDue());
    }
    for (const wchar_t* value : {L"true", L"truest"}) {
        install = {{L"setup.done", value}};
        EXPECT_FALSE(isDue());
    }
    install = {{L"Setup.done", L"true"}};
    EXPECT_TRUE(isDue());
}

TEST_F(InitialConfiguration, BelongsToThreeKinds) {
    for (int number = 1; number <= 8; ++number) {
        kind = static_cast<InstallConfigurationKind>(number);
        EXPECT_EQ(isDue(), number == 3 || number == 6 || number == 8) << number;
    }
}

TEST_F(InitialConfiguration, WithoutAListThereIsNone) {
    launcher = {{L"config.initial", L"x"}, {L"config.initials.1", L"y"}, {L"Config.initial.1", L"z"}};
    EXPECT_FALSE(isDue());
    EXPECT_EQ(outcome.log, "");
}

TEST_F(InitialConfiguration, TheOrderIsThatOfTheNumbers) {
    std::reverse(launcher.begin(), launcher.end());
    EXPECT_TRUE(isDue());
    EXPECT_EQ(outcome.end.status, 0U);
}

TEST_F(InitialConfiguration, AMissingNumberIsFatal) {
    launcher.erase(launcher.begin() + 1);
    expectFatal("ZLNCH0114E: Invalid config.initial arguments. config.initial.2 not found");
}

TEST_F(InitialConfiguration, ANumberMayBeTakenForOneThatItBegins) {
    launcher = {{L"config.initial.10", L"-initialCompleteFlag"}, {L"config.initial.2", L"setup.done"}};
    EXPECT_TRUE(isDue());
    install = {{L"setup.done", L"true"}};
    EXPECT_FALSE(isDue());
}

TEST_F(InitialConfiguration, TheFlagNeedsAnEntryBehindIt) {
    launcher = {{L"config.initial.1", L"a"}, {L"config.initial.2", L"-initialCompleteFlag"}};
    expectFatal(noFlag);
    launcher = {{L"config.initial.1", L"a"}, {L"config.initial.2", L"b"}};
    expectFatal(noFlag);
}

TEST_F(InitialConfiguration, TheFlagNeedOnlyBeginWithItsWord) {
    launcher[2].value = L"-initialCompleteFlagX";
    EXPECT_TRUE(isDue());
    EXPECT_EQ(outcome.end.status, 0U);
}

TEST_F(InitialConfiguration, AnEmptyValueEndsTheCount) {
    launcher[0].value = L"";
    expectFatal(noFlag);
    launcher[0].value = L"-initialCompleteFlag";
    launcher[1].value = L"name";
    launcher[2].value = L"";
    EXPECT_TRUE(isDue());
    EXPECT_EQ(outcome.end.status, 0U);
}

TEST_F(InitialConfiguration, TheFlagAsAKeyHasNoEffect) {
    launcher = {{L"config.initial.1", L"a"}, {L"config.initial.2", L"b"}, {L"-initialCompleteFlag", L"x"}};
    expectFatal(noFlag);
}

TEST_F(InitialConfiguration, TheFirstFlagWordCounts) {
    launcher = {{L"config.initial.1", L"-initialCompleteFlag"},
                {L"config.initial.2", L"first.done"},
                {L"config.initial.3", L"-initialCompleteFlag"},
                {L"config.initial.4", L"second.done"}};
    install = {{L"second.done", L"true"}};
    EXPECT_TRUE(isDue());
    install = {{L"first.done", L"true"}};
    EXPECT_FALSE(isDue());
}

TEST_F(InitialConfiguration, TheFirstEntryOfThePropertyCounts) {
    install = {{L"setup.done", L"true"}, {L"setup.done", L"false"}};
    EXPECT_FALSE(isDue());
    install = {{L"setup.done", L"false"}, {L"setup.done", L"true"}};
    EXPECT_TRUE(isDue());
}

TEST_F(InitialConfiguration, ARepeatedNumberLeavesALaterOneMissing) {
    launcher.push_back({L"config.initial.4", L"other.done"});
    expectFatal("ZLNCH0114E: Invalid config.initial arguments. config.initial.5 not found");
}

TEST_F(InitialConfiguration, TheFirstEntryOfANumberCounts) {
    launcher = {{L"config.initial.1", L"-initialCompleteFlag"},
                {L"config.initial.20", L"first.done"},
                {L"config.initial.2", L"second.done"},
                {L"config.initial.3", L"word"}};
    for (const int n : {4, 5, 6}) {
        launcher.push_back({L"config.initial." + std::to_wstring(n), L"word"});
    }
    install = {{L"first.done", L"true"}};
    EXPECT_FALSE(isDue());
}

TEST_F(InitialConfiguration, TheFlagNeedsAWholePairBehindIt) {
    launcher = {{L"config.initial.1", L"-initialCompleteFlag"}, {L"config.initial.2", L""}};
    expectFatal(noFlag);  // the count ends at the empty name
    launcher = {{L"config.initial.1", L"-initialCompleteFlag"}};
    expectFatal(noFlag);
}

TEST_F(InitialConfiguration, MoreNumbersThanTenAreTakenInTheirOrder) {
    launcher.clear();
    for (int n = 1; n <= 12; ++n) {
        const wchar_t* value = n == 11 ? L"-initialCompleteFlag" : n == 12 ? L"setup.done" : L"word";
        launcher.push_back({L"config.initial." + std::to_wstring(n), value});
    }
    EXPECT_TRUE(isDue());
    install = {{L"setup.done", L"true"}};
    EXPECT_FALSE(isDue());
}

TEST_F(InitialConfiguration, AKindWithoutAFirstRunIgnoresADamagedList) {
    kind = InstallConfigurationKind::service;
    launcher = {{L"config.initial.2", L"x"}};
    EXPECT_FALSE(isDue());
    EXPECT_EQ(outcome.end.status, 0U);
    EXPECT_EQ(outcome.log, "");
}

}  // namespace
