#include "launch/first_run_arguments.h"

#include <gtest/gtest.h>

#include "configuration/install_kind.h"
#include "support/launcher_fixture.h"

namespace {

using zellauncher::Arguments;

class FirstRunArguments : public launchertest::OnMachine {
protected:
    zellauncher::LaunchContext context;

    FirstRunArguments() {
        context.zelHome = L"C:\\Apps\\framework\\Client";
        context.zelLauncherArray = {{L"config.initial.1", L"-initialCompleteFlag"},
                                    {L"config.initial.2", L"setup.done"}};
        context.effectiveArgs = {L"prog", L"former"};
    }
    const Arguments& apply(const Arguments& rawArguments) {
        context.rawArguments = rawArguments;
        run([&] {
            zellauncher::InstallConfiguration = zellauncher::InstallConfigurationKind::user;
            zellauncher::applyInitialConfiguration(context);
        });
        return context.effectiveArgs;
    }
};

TEST_F(FirstRunArguments, FirstRunReplacesTheUsersArguments) {
    EXPECT_EQ(apply({L"prog", L"x", L"-debug"}),
              (Arguments{L"prog", L"-debug", L"-initialCompleteFlag", L"setup.done"}));
}

TEST_F(FirstRunArguments, KeptOptionMayBeTheFirstArgument) {
    for (const wchar_t* option : {L"-debug", L"-console", L"-noExit"}) {
        EXPECT_EQ(apply({L"prog", option, L"x"}),
                  (Arguments{L"prog", option, L"-initialCompleteFlag", L"setup.done"}));
    }
    EXPECT_EQ(apply({L"prog", L"-data", L"C:\\w", L"x"}),
              (Arguments{L"prog", L"-data", L"C:\\w", L"-initialCompleteFlag", L"setup.done"}));
    EXPECT_EQ(apply({L"-noExit", L"x"}), (Arguments{L"-noExit", L"-initialCompleteFlag", L"setup.done"}));
}

TEST_F(FirstRunArguments, DataMayBeTheLastTwoArguments) {
    EXPECT_EQ(apply({L"prog", L"x", L"-data", L"C:\\w"}),
              (Arguments{L"prog", L"-data", L"C:\\w", L"-initialCompleteFlag", L"setup.done"}));
}

TEST_F(FirstRunArguments, OnlyDataKeepsTheArgumentAfterIt) {
    EXPECT_EQ(
        apply({L"prog", L"-debug", L"a", L"-console", L"b", L"-noExit", L"c"}),
        (Arguments{L"prog", L"-debug", L"-console", L"-noExit", L"-initialCompleteFlag", L"setup.done"}));
}

// The path may look like an option that is kept.
TEST_F(FirstRunArguments, ArgumentAfterDataIsNoOption) {
    EXPECT_EQ(apply({L"prog", L"-data", L"-debug", L"-console"}),
              (Arguments{L"prog", L"-data", L"-debug", L"-console", L"-initialCompleteFlag", L"setup.done"}));
}

TEST_F(FirstRunArguments, MissingProgramBecomesAnEmptyArgument) {
    EXPECT_EQ(apply({}), (Arguments{L"", L"-initialCompleteFlag", L"setup.done"}));
}

TEST_F(FirstRunArguments, CompletedFirstRunKeepsTheUsersArguments) {
    context.zelInstallArray = {{L"setup.done", L"true"}};
    EXPECT_EQ(apply({L"prog"}), (Arguments{L"prog", L"former"}));
}

}  // namespace
