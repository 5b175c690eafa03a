#include "launch/first_run.h"

#include "configuration/install_configuration.h"
#include "support/launcher_fixture.h"

namespace {

using zellauncher::Arguments;

class InitialArguments : public launchertest::OnMachine {
protected:
    zellauncher::LaunchContext context;

    InitialArguments() {
        context.zelHome = L"C:\\Apps\\framework\\Client";
        context.zelLauncherArray = {{L"config.initial.1", L"-initialCompleteFlag"},
                                    {L"config.initial.2", L"setup.done"}};
        context.effectiveArgs = {L"as", L"they", L"were"};
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

TEST_F(InitialArguments, StandForTheUsersOwn) {
    EXPECT_EQ(apply({L"prog", L"x", L"-debug"}),
              (Arguments{L"prog", L"-debug", L"-initialCompleteFlag", L"setup.done"}));
}

TEST_F(InitialArguments, ACommandLineWithoutAProgramGivesAnEmptyWordForIt) {
    EXPECT_EQ(apply({}), (Arguments{L"", L"-initialCompleteFlag", L"setup.done"}));
}

TEST_F(InitialArguments, OnceTheRunIsDoneTheUsersOwnStand) {
    context.zelInstallArray = {{L"setup.done", L"true"}};
    EXPECT_EQ(apply({L"prog"}), (Arguments{L"as", L"they", L"were"}));
}

}  // namespace
