#include <gtest/gtest.h>

#include "scenarios/story.h"

namespace {

using scenarios::contains;
using scenarios::Story;

// config.initial replaces the user's arguments until the user's properties have the complete flag.
class FirstRun : public Story {
protected:
    FirstRun() {
        launcherProperties.set("config.initial.1", "-application");
        launcherProperties.set("config.initial.2", "com.example.setup");
        launcherProperties.set("config.initial.3", "-initialCompleteFlag");
        launcherProperties.set("config.initial.4", "setup.done");
    }
};

TEST_F(FirstRun, ReplacesTheCommandLine) {
    EXPECT_STARTED(launch({L"hello", L"-product", L"mine"}));
    EXPECT_TRUE(contains(command(),
                         L"eclipse.exe\" --launcher.suppressErrors -application \"com.example.setup\" "
                         L"\"-initialCompleteFlag\" \"setup.done\" -data "));
    EXPECT_FALSE(contains(command(), L"hello"));
    EXPECT_TRUE(hasElement(L"\"com.example.product\""));
}

TEST_F(FirstRun, KeepsWorkspaceAndDiagnosticOptionsOnce) {
    EXPECT_STARTED(launch({L"a", L"-consoleLog", L"-noExit", L"b", L"-data", L"C:\\first", L"-console",
                           L"-data", L"C:\\second", L"-debug"}));
    EXPECT_TRUE(machine.exists(L"C:\\first\\.zel.lock"));
    EXPECT_TRUE(contains(command(),
                         L"eclipse.exe\" \"-consoleLog\" \"-noExit\" \"-debug\" -application "
                         L"\"com.example.setup\" "));
    EXPECT_TRUE(contains(command(), L"-data \"C:\\first\""));
}

TEST_F(FirstRun, IsOverOnceTheFlagIsSet) {
    EXPECT_STARTED(launch());
    closePlatform();
    machine.writeFile(inConfig(L"zelinstall.properties"),
                      *configFile(L"zelinstall.properties") + "setup.done=true\r\n");
    EXPECT_STARTED(launch({L"hello"}));
    EXPECT_TRUE(hasElement(L"\"hello\""));
    EXPECT_FALSE(contains(command(), L"com.example.setup"));
}

TEST_F(FirstRun, KeepsTheTaskbarIdentityOfTheCommandLine) {
    launcherProperties.set("config.app.appID", "com.example.id");
    EXPECT_STARTED(launch({L"-config", L"app"}));
    EXPECT_EQ(machine.startedProcesses().at(0).start.title, L"com.example.id");
}

TEST_F(FirstRun, DataOptionWithoutAValueIsIgnored) {
    EXPECT_STARTED(launch({L"-data"}));
    EXPECT_TRUE(machine.exists(inWorkspace(L".zel.lock")));
}

TEST_F(FirstRun, MissingFlagIsFatal) {
    launcherProperties.remove("config.initial.3");
    launcherProperties.remove("config.initial.4");
    EXPECT_FATAL(launch());
    EXPECT_TRUE(logHas("ZLNCH0115E: Invalid config.initial arguments. -initialCompleteFlag not found"));
}

}  // namespace
