#include <gtest/gtest.h>

#include "scenarios/story.h"

namespace {

using scenarios::Story;

// An install that wants one special run before a user's first normal one.
class FirstRun : public Story {
protected:
    FirstRun() {
        launcherProperties.set("config.initial.1", "-application");
        launcherProperties.set("config.initial.2", "com.example.setup");
        launcherProperties.set("config.initial.3", "-initialCompleteFlag");
        launcherProperties.set("config.initial.4", "setup.done");
    }
};

TEST_F(FirstRun, ReplacesTheUsersCommandLine) {
    EXPECT_STARTED(launch({L"hello", L"-product", L"mine"}));
    EXPECT_NE(command().find(L"eclipse.exe\" --launcher.suppressErrors -application \"com.example.setup\" "
                             L"\"-initialCompleteFlag\" \"setup.done\" -data "),
              std::wstring::npos);
    EXPECT_EQ(command().find(L"hello"), std::wstring::npos);
    EXPECT_TRUE(hasElement(L"\"com.example.product\""));
}

TEST_F(FirstRun, KeepsTheWorkspaceAndTheDiagnosticOptionsOnceEach) {
    EXPECT_STARTED(launch({L"a", L"-consoleLog", L"-noExit", L"b", L"-data", L"C:\\first", L"-console",
                           L"-data", L"C:\\second", L"-debug"}));
    EXPECT_TRUE(machine.exists(L"C:\\first\\.zel.lock"));
    EXPECT_NE(command().find(L"eclipse.exe\" \"-consoleLog\" \"-noExit\" \"-debug\" -application "
                             L"\"com.example.setup\" "),
              std::wstring::npos);
    EXPECT_NE(command().find(L"-data \"C:\\first\""), std::wstring::npos);
}

TEST_F(FirstRun, IsOverWhenTheUsersPropertiesSaySo) {
    EXPECT_STARTED(launch());
    closePlatform();
    machine.writeFile(inConfig(L"zelinstall.properties"),
                      *configFile(L"zelinstall.properties") + "setup.done=true\r\n");
    EXPECT_STARTED(launch({L"hello"}));
    EXPECT_TRUE(hasElement(L"\"hello\""));
    EXPECT_EQ(command().find(L"com.example.setup"), std::wstring::npos);
}

TEST_F(FirstRun, KeepsTheIdentityOfTheUsersCommandLine) {
    launcherProperties.set("config.app.appID", "com.example.id");
    EXPECT_STARTED(launch({L"-config", L"app"}));
    EXPECT_EQ(machine.startedProcesses().at(0).start.title, L"com.example.id");
}

TEST_F(FirstRun, ADataOptionWithNothingBehindItNamesNoWorkspace) {
    EXPECT_STARTED(launch({L"-data"}));
    EXPECT_TRUE(machine.exists(inWorkspace(L".zel.lock")));
}

TEST_F(FirstRun, AListWithoutItsFlagIsRefused) {
    launcherProperties.remove("config.initial.3");
    launcherProperties.remove("config.initial.4");
    EXPECT_FATAL(launch());
    EXPECT_TRUE(logHas("ZLNCH0115E: Invalid config.initial arguments. -initialCompleteFlag not found"));
}

}  // namespace
