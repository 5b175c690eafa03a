#include <gtest/gtest.h>

#include "scenarios/story.h"

namespace {

using scenarios::Story;

// The power fails when a start is over: names and directories stay, and of what was written only what had
// been brought to the device.
class PowerFailure : public Story {
protected:
    PowerFailure() { launcherProperties.set("zel.data", "C:/Users/ann/Mivel/ZEL/1234/ann"); }

    void startAndLosePower() {
        EXPECT_STARTED(launch());
        closePlatform();
        machine.losePower();
    }
    // The start after it does what it would have done, and repairs nothing.
    void expectSameCommand() {
        const std::wstring before = command();
        EXPECT_STARTED(launch());
        EXPECT_EQ(command(), before);
        EXPECT_FALSE(machine.exists(inWorkspace(L".configbak")));
    }
};

// What exists is never seeded again, so it has to be whole.
TEST_F(PowerFailure, AfterAFirstStartLeavesTheSeedsWhole) {
    machine.writeFile(std::wstring(home) + L"\\shared\\eclipse\\.eclipseextension", "marker");
    startAndLosePower();
    EXPECT_EQ(configFile(L"config.ini"), "osgi.bundles=example\r\n");
    EXPECT_NE(configFile(L"org.eclipse.update\\platform.xml").value_or(""), "");
    EXPECT_EQ(workspaceFile(L"applications\\eclipse\\.eclipseextension"), "marker");
    EXPECT_NE(configFile(L"zelinstall.properties").value_or(""), "");
    expectSameCommand();
}

TEST_F(PowerFailure, AfterAChangedInstallKeepsWhatTheUserHasInstalledAndMarked) {
    startAndLosePower();
    machine.writeFile(inConfig(L"org.eclipse.update\\registry"), "registry");
    machine.writeFile(inConfig(L"org.eclipse.update\\bookmarks.xml"), "bookmarks");
    machine.writeFile(inConfig(L"mine"), "mine");
    launcherProperties.set("zel.install.id", "1235");
    layOut();
    startAndLosePower();
    EXPECT_STARTED(launch());
    EXPECT_EQ(configFile(L"org.eclipse.update\\registry"), "registry");
    EXPECT_EQ(configFile(L"org.eclipse.update\\bookmarks.xml"), "bookmarks");
    EXPECT_EQ(workspaceFile(L".configbak\\mine"), "mine");  // nothing had to be repaired over it
}

TEST_F(PowerFailure, AfterARepairKeepsWhatWasRepaired) {
    startAndLosePower();
    EXPECT_STARTED(launch());  // its backup
    closePlatform();
    const std::string good = *configFile(L"zelinstall.properties");
    machine.writeFile(inConfig(L"zelinstall.properties.bak"), good);
    machine.writeFile(inConfig(L"zelinstall.properties"), "");
    startAndLosePower();
    EXPECT_EQ(configFile(L"zelinstall.properties"), good);
    expectSameCommand();
}

TEST_F(PowerFailure, AfterTheFirstStartOfAnInstallKeepsItsIdentity) {
    launcherProperties.set("install.configuration", "userpb");
    launcherProperties.remove("zel.install.id");
    machine.setTickCount(424242);
    startAndLosePower();
    machine.setTickCount(535353);
    EXPECT_STARTED(launch());
    EXPECT_TRUE(hasElement(L"-Dcom.mivel.zel.install.id=\"424242\""));
}

}  // namespace
