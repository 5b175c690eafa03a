#include <gtest/gtest.h>

#include "scenarios/story.h"
#include "support/faults.h"

namespace {

using launchertest::failing;
using scenarios::contains;
using scenarios::Story;

// The user's zelinstall.properties was damaged between two starts.
class Repair : public Story {
protected:
    void startOnce() {
        EXPECT_STARTED(launch());
        closePlatform();
        good = *configFile(L"zelinstall.properties");
    }
    std::string without(const std::string& key) const {
        const std::size_t start = good.find(key + "=");
        return good.substr(0, start) + good.substr(good.find('\n', start) + 1);
    }
    void damage(const std::string& content) {
        machine.writeFile(inConfig(L"zelinstall.properties"), content);
    }

    std::string good;
};

TEST_F(Repair, MissingKeyRestoresTheBackup) {
    startOnce();
    for (const char* key : {"vm", "zel.install.id", "zel.base.location", "Xbootclasspath.append"}) {
        damage(without(key));
        EXPECT_STARTED(launch());
        closePlatform();
        EXPECT_EQ(configFile(L"zelinstall.properties"), good);
        EXPECT_EQ(configFile(L"zelinstall.properties.bak"), good);
    }
}

TEST_F(Repair, TruncatedFileRestoresTheBackup) {
    startOnce();
    damage(good.substr(0, good.size() / 2));
    EXPECT_STARTED(launch());
    EXPECT_EQ(configFile(L"zelinstall.properties"), good);
}

TEST_F(Repair, EmptyValueIsAccepted) {
    startOnce();
    const std::string emptied = without("vm") + "vm=\r\n";
    damage(emptied);
    EXPECT_STARTED(launch());
    EXPECT_EQ(configFile(L"zelinstall.properties"), emptied);
}

TEST_F(Repair, CompleteFileBecomesTheBackup) {
    startOnce();
    damage(good + "mine=1\r\n");
    EXPECT_STARTED(launch());
    EXPECT_EQ(configFile(L"zelinstall.properties.bak"), good + "mine=1\r\n");
}

TEST_F(Repair, DamagedBackupResetsTheConfiguration) {
    startOnce();
    machine.writeFile(inConfig(L"org.eclipse.update\\registry"), "registry");
    machine.writeFile(inConfig(L"org.eclipse.update\\bookmarks.xml"), "bookmarks");
    damage(without("vm"));
    machine.writeFile(inConfig(L"zelinstall.properties.bak"), without("Xbootclasspath.append"));
    EXPECT_STARTED(launch());
    EXPECT_EQ(configFile(L"zelinstall.properties"), good);
    EXPECT_EQ(configFile(L"zelinstall.properties.bak"), good);
    EXPECT_EQ(configFile(L"org.eclipse.update\\registry"), "registry");
    EXPECT_EQ(configFile(L"org.eclipse.update\\bookmarks.xml"), "bookmarks");
    EXPECT_EQ(workspaceFile(L".configbak\\zelinstall.properties"), without("vm"));
    EXPECT_TRUE(machine.exists(inConfig(L"args.properties")));
    EXPECT_TRUE(machine.exists(inConfig(L"org.eclipse.update\\platform.xml")));
}

TEST_F(Repair, MissingBackupResetsTheConfiguration) {
    startOnce();
    damage(without("vm"));
    machine.remove(inConfig(L"zelinstall.properties.bak"));
    EXPECT_STARTED(launch());
    EXPECT_EQ(configFile(L"zelinstall.properties"), good);
    EXPECT_TRUE(machine.exists(inWorkspace(L".configbak")));
}

// The reset moves the restart state away, and a restart writes none.
TEST_F(Repair, RestartWithoutABackupIsFatalOnce) {
    startOnce();
    damage(without("vm"));
    machine.remove(inConfig(L"zelinstall.properties.bak"));
    EXPECT_FATAL(launch({L"-restart"}));
    EXPECT_TRUE(logHas(
        "ZLNCH0096E: Unable to load C:\\Users\\ann/Mivel/ZEL/1234/ann/.config\\args.properties file!"));
    EXPECT_EQ(configFile(L"zelinstall.properties"), good);
    EXPECT_STARTED(launch());
    EXPECT_EQ(machine.startedProcesses().size(), 2U);
}

TEST_F(Repair, FailedRestoreResetsTheConfiguration) {
    startOnce();
    damage(without("vm"));
    machine.inject(failing("copyFile", ::platform::errorAccessDenied, L"zelinstall.properties.bak"));
    EXPECT_STARTED(launch({L"-debug"}));
    EXPECT_TRUE(contains(lastDebugLog(), "ZLNCH0022E: Unable to recover zelinstall.properties\n"));
    EXPECT_EQ(configFile(L"zelinstall.properties"), good);
    EXPECT_TRUE(machine.exists(inWorkspace(L".configbak")));
}

TEST_F(Repair, FailedBackupIsNotFatal) {
    layOut();
    // The first copy creates the user's file from the template, the second one its backup.
    machine.inject(failing("copyFile", ::platform::errorAccessDenied, L"zelinstall.properties", 2));
    EXPECT_STARTED(launch({L"-debug"}));
    EXPECT_TRUE(contains(logAt(firstDebugLog), "ZLNCH0022E: Unable to backup zelinstall.properties\n"));
    EXPECT_FALSE(machine.exists(inConfig(L"zelinstall.properties.bak")));
}

TEST_F(Repair, MissingBaseKeyResetsEveryStart) {
    baseProperties.remove("Xbootclasspath.append");
    EXPECT_STARTED(launch());
    EXPECT_TRUE(machine.exists(inWorkspace(L".configbak")));
    closePlatform();
    EXPECT_STARTED(launch());
    EXPECT_EQ(machine.startedProcesses().size(), 2U);
}

}  // namespace
