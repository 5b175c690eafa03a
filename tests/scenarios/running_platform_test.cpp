#include <gtest/gtest.h>

#include "scenarios/story.h"

namespace {

using scenarios::contains;
using scenarios::Story;

// The user's configuration needs attention while the platform runs. The start that finds this is a daemon: it
// repairs and renews like any other, but writes no restart state.
class RunningPlatform : public Story {
protected:
    RunningPlatform() { launcherProperties.set("zel.data", "C:/Users/ann/Mivel/ZEL/1234/ann"); }

    void damageProperties() { machine.writeFile(inConfig(L"zelinstall.properties"), "vm=x\r\n"); }
    void expectDelivered() {
        ASSERT_EQ(payloads().size(), 1U);
        EXPECT_TRUE(contains(payloads()[0], L"\nhello\n"));
        EXPECT_EQ(machine.startedProcesses().size(), 1U);
    }
    // The renewal has moved the restart state away. The arguments are lost, and so are those of later starts,
    // until the platform ends.
    void expectRenewedAndFatal(const std::vector<std::wstring>& arguments) {
        for (int start = 0; start < 2; ++start) {
            EXPECT_FATAL(launch(start == 0 ? arguments : std::vector<std::wstring>{L"hello"}));
            EXPECT_TRUE(
                logHas("ZLNCH0096E: Unable to load "
                       "C:/Users/ann/Mivel/ZEL/1234/ann/.config\\args.properties file!"));
        }
        EXPECT_TRUE(machine.exists(inWorkspace(L".configbak\\args.properties")));
        EXPECT_TRUE(payloads().empty());
        EXPECT_EQ(machine.startedProcesses().size(), 1U);
        closePlatform();
        EXPECT_STARTED(launch());
        EXPECT_EQ(machine.startedProcesses().size(), 2U);
    }
};

TEST_F(RunningPlatform, DamagedPropertiesAreRestoredAndTheCommandSent) {
    EXPECT_STARTED(launch());
    const auto good = configFile(L"zelinstall.properties");
    damageProperties();
    EXPECT_STARTED(launch({L"hello"}));
    EXPECT_EQ(configFile(L"zelinstall.properties"), good);
    expectDelivered();
}

TEST_F(RunningPlatform, DamagedPropertiesWithoutABackupAreRenewed) {
    EXPECT_STARTED(launch());
    damageProperties();
    machine.remove(inConfig(L"zelinstall.properties.bak"));
    expectRenewedAndFatal({L"hello"});
}

TEST_F(RunningPlatform, ChangedIdentityRenewsTheConfiguration) {
    EXPECT_STARTED(launch());
    launcherProperties.set("zel.install.id", "1235");
    layOut();
    expectRenewedAndFatal({L"hello"});
}

TEST_F(RunningPlatform, ResetRenewsTheConfiguration) {
    EXPECT_STARTED(launch());
    expectRenewedAndFatal({L"-resetconfig"});
}

TEST_F(RunningPlatform, MissingSeedFilesAreCreatedAndTheCommandSent) {
    EXPECT_STARTED(launch());
    machine.remove(inConfig(L"config.ini"));
    machine.remove(inConfig(L"org.eclipse.update\\platform.xml"));
    EXPECT_STARTED(launch({L"hello"}));
    EXPECT_TRUE(machine.exists(inConfig(L"config.ini")));
    EXPECT_TRUE(machine.exists(inConfig(L"org.eclipse.update\\platform.xml")));
    expectDelivered();
}

}  // namespace
