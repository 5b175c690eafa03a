#include <gtest/gtest.h>

#include "scenarios/story.h"

namespace {

using scenarios::Story;

// The power fails after a start. Names and directories survive; of file contents, only what was flushed.
class PowerFailure : public Story {
protected:
    PowerFailure() { launcherProperties.set("zel.data", "C:/Users/ann/Mivel/ZEL/1234/ann"); }

    void startAndLosePower() {
        EXPECT_STARTED(launch());
        closePlatform();
        machine.losePower();
    }
    // The next start repairs nothing.
    void expectNextStartUnchanged() {
        const std::wstring before = command();
        EXPECT_STARTED(launch());
        EXPECT_EQ(command(), before);
        EXPECT_FALSE(machine.exists(inWorkspace(L".configbak")));
    }
};

// A later start does not replace a seed file that exists, so it must be whole.
TEST_F(PowerFailure, AfterAFirstStartKeepsTheSeedFilesWhole) {
    machine.writeFile(std::wstring(installDir) + L"\\shared\\eclipse\\.eclipseextension", "marker");
    startAndLosePower();
    EXPECT_EQ(configFile(L"config.ini"), "osgi.bundles=example\r\n");
    EXPECT_NE(configFile(L"org.eclipse.update\\platform.xml").value_or(""), "");
    EXPECT_EQ(workspaceFile(L"applications\\eclipse\\.eclipseextension"), "marker");
    EXPECT_NE(configFile(L"zelinstall.properties").value_or(""), "");
    expectNextStartUnchanged();
}

TEST_F(PowerFailure, AfterARenewalKeepsRegistryAndBookmarks) {
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
    EXPECT_EQ(workspaceFile(L".configbak\\mine"), "mine");  // no repair replaced the backup
}

TEST_F(PowerFailure, AfterARepairKeepsTheRepairedProperties) {
    startAndLosePower();
    EXPECT_STARTED(launch());
    closePlatform();
    const std::string good = *configFile(L"zelinstall.properties");
    machine.writeFile(inConfig(L"zelinstall.properties.bak"), good);
    machine.writeFile(inConfig(L"zelinstall.properties"), "");
    startAndLosePower();
    EXPECT_EQ(configFile(L"zelinstall.properties"), good);
    expectNextStartUnchanged();
}

TEST_F(PowerFailure, AfterAFirstStartKeepsTheInstallIdentity) {
    launcherProperties.set("install.configuration", "userpb");
    launcherProperties.remove("zel.install.id");
    machine.setTickCount(424242);
    startAndLosePower();
    machine.setTickCount(535353);
    EXPECT_STARTED(launch());
    EXPECT_TRUE(hasElement(L"-Dcom.mivel.zel.install.id=\"424242\""));
}

// The length of the lock file reached the device, its content did not.
TEST_F(PowerFailure, LockFileOfNulsIsOverwrittenByTheNextStart) {
    startAndLosePower();
    const std::size_t length = workspaceFile(L".zel.lock")->size();
    machine.writeFile(inWorkspace(L".zel.lock"), std::string(length + 4, '\0'));
    EXPECT_STARTED(launch());
    EXPECT_TRUE(logHas("ZLNCH0091E: No data in the platform lock file."));
    EXPECT_STARTED(launch({L"hello"}));
    EXPECT_EQ(payloads().size(), 1U);  // the platform was found
    const std::wstring owner = std::to_wstring(machine.startedProcesses().back().id);
    platform.livesMilliseconds = 1000;
    EXPECT_STARTED(launch({L"-restart", L"-zel_old_pid", owner}));  // which blanks the process id
    EXPECT_EQ(machine.startedProcesses().size(), 3U);
    closePlatform();
    EXPECT_STARTED(launch());
}

}  // namespace
