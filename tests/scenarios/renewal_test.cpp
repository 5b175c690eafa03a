#include <gtest/gtest.h>

#include "scenarios/story.h"

namespace {

using scenarios::Story;

// A configuration that is moved away and made anew: the install has changed, or the user asks for it.
class Renewal : public Story {
protected:
    Renewal() { launcherProperties.set("zel.data", "C:/Users/ann/Mivel/ZEL/1234/ann"); }

    void startOnce() {
        EXPECT_STARTED(launch());
        closePlatform();
        machine.writeFile(inConfig(L"org.eclipse.update\\registry"), "registry");
        machine.writeFile(inConfig(L"org.eclipse.update\\bookmarks.xml"), "bookmarks");
        machine.writeFile(inConfig(L"mine"), "mine");
    }
    void changeInstall() {
        launcherProperties.set("zel.install.id", "1235");
        layOut();
    }
    void expectSurvivors() {
        EXPECT_EQ(configFile(L"org.eclipse.update\\registry"), "registry");
        EXPECT_EQ(configFile(L"org.eclipse.update\\bookmarks.xml"), "bookmarks");
        EXPECT_FALSE(machine.exists(inWorkspace(L"registry.old")));
        EXPECT_FALSE(machine.exists(inWorkspace(L"bookmarks.xml.old")));
    }
};

TEST_F(Renewal, AChangedInstallMakesTheConfigurationAnew) {
    startOnce();
    const auto oldPlatformXml = configFile(L"org.eclipse.update\\platform.xml");
    changeInstall();
    EXPECT_STARTED(launch());
    EXPECT_EQ(valueIn(inConfig(L"zelinstall.properties"), L"zel.install.id"), L"1235");
    EXPECT_EQ(workspaceFile(L".configbak\\mine"), "mine");
    EXPECT_FALSE(machine.exists(inConfig(L"mine")));
    EXPECT_EQ(workspaceFile(L"platform.xml.old"), oldPlatformXml);
    expectSurvivors();
    EXPECT_TRUE(hasElement(L"-Dcom.mivel.zel.install.id=\"1235\""));
    closePlatform();
    machine.writeFile(inConfig(L"kept"), "");
    EXPECT_STARTED(launch());
    EXPECT_TRUE(machine.exists(inConfig(L"kept")));  // once is enough
}

TEST_F(Renewal, AnIdentityInAnotherCaseIsAnotherInstall) {
    launcherProperties.set("zel.install.id", "abc");
    startOnce();
    launcherProperties.set("zel.install.id", "ABC");
    layOut();
    EXPECT_STARTED(launch());
    EXPECT_TRUE(machine.exists(inWorkspace(L".configbak")));
}

TEST_F(Renewal, AChangedInstallLeavesARequestedResetAside) {
    startOnce();
    machine.writeFile(inWorkspace(L".metadata\\.plugins\\views\\x"), "");
    baseProperties.set("resetDir.views", "views");
    changeInstall();
    EXPECT_STARTED(launch({L"-resetconfig"}));
    EXPECT_TRUE(machine.exists(inWorkspace(L".metadata\\.plugins\\views\\x")));
    EXPECT_TRUE(machine.exists(inWorkspace(L"platform.xml.old")));
}

TEST_F(Renewal, AResetRemovesTheConfiguredDirectories) {
    baseProperties.set("resetDir.views", "views");
    baseProperties.set("resetDir.gone", "gone");
    startOnce();
    machine.writeFile(inWorkspace(L".metadata\\.plugins\\views\\sub\\x"), "");
    machine.writeFile(inWorkspace(L".metadata\\.plugins\\other\\x"), "");
    EXPECT_STARTED(launch({L"-resetconfig"}));
    EXPECT_FALSE(machine.exists(inWorkspace(L".metadata\\.plugins\\views")));
    EXPECT_TRUE(machine.exists(inWorkspace(L".metadata\\.plugins\\other\\x")));
    EXPECT_FALSE(machine.exists(inWorkspace(L"platform.xml.old")));
    EXPECT_EQ(workspaceFile(L".configbak\\mine"), "mine");
    expectSurvivors();
    EXPECT_EQ(configFile(L"args.properties")->find("resetconfig"), std::string::npos);
}

TEST_F(Renewal, ASecondResetReplacesTheFirstOnesBackup) {
    startOnce();
    EXPECT_STARTED(launch({L"-resetconfig"}));
    closePlatform();
    machine.writeFile(inConfig(L"second"), "");
    EXPECT_STARTED(launch({L"-resetconfig"}));
    EXPECT_TRUE(machine.exists(inWorkspace(L".configbak\\second")));
    EXPECT_FALSE(machine.exists(inWorkspace(L".configbak\\mine")));
    for (const std::wstring& path : machine.tree(workspace)) {
        EXPECT_EQ(path.find(L"deleteme"), std::wstring::npos);
    }
}

TEST_F(Renewal, ARestartWithAResetHasNoRestartState) {
    startOnce();
    EXPECT_FATAL(launch({L"-restart", L"-resetconfig"}));
    EXPECT_TRUE(
        logHas("ZLNCH0096E: Unable to load C:/Users/ann/Mivel/ZEL/1234/ann/.config\\args.properties file!"));
}

// However a renewal is cut off, the next starts come right by themselves, and what was the user's is
// somewhere that they bring it back from.
class CutRenewal : public Renewal {
protected:
    void cutAtEachOperation(const std::vector<std::wstring>& words, bool changesInstall) {
        for (std::uint64_t operation = 1;; ++operation) {
            SCOPED_TRACE(operation);
            machine.stopDeadAt(0);
            machine.remove(workspace);
            launcherProperties.set("zel.install.id", "1234");
            layOut();
            startOnce();
            if (changesInstall) {
                changeInstall();
            }
            machine.stopDeadAt(operation);
            const simulation::ProcessId id = begin(words);
            const simulation::ProcessEnd end = machine.waitFor(id);
            machine.stopDeadAt(0);
            if (end.kind != simulation::EndKind::stoppedDead) {
                EXPECT_GT(operation, 100U);
                return;
            }
            machine.runUntilIdle(120000);  // a platform that was started meanwhile ends
            EXPECT_STARTED(launch(words));
            closePlatform();
            if (!machine.exists(inConfig(L"org.eclipse.update\\registry"))) {
                EXPECT_TRUE(machine.exists(inWorkspace(L"registry.old")));
            }
            if (!machine.exists(inConfig(L"org.eclipse.update\\bookmarks.xml"))) {
                EXPECT_TRUE(machine.exists(inWorkspace(L"bookmarks.xml.old")));
            }
            EXPECT_STARTED(launch({L"-resetconfig"}));
            closePlatform();
            expectSurvivors();
        }
    }
};

TEST_F(CutRenewal, OfAChangedInstall) {
    cutAtEachOperation({}, true);
}

TEST_F(CutRenewal, OfAReset) {
    cutAtEachOperation({L"-resetconfig"}, false);
}

// The platform's provisioning application runs first on a new install or for a new user.
class Provisioning : public Story {
protected:
    Provisioning() {
        launcherProperties.set("provisioning", "true");
        launcherProperties.set("provisioning.manifest.version", "7");
        launcherProperties.set("provisioning.application", "com.example.prov");
        platform.livesMilliseconds = 30000;
    }
    // What the provisioning application leaves with the user.
    void recordManifest() {
        machine.writeFile(inConfig(L"zelinstall.properties"),
                          *configFile(L"zelinstall.properties") + "provisioning.manifest.version=7\r\n");
    }
};

TEST_F(Provisioning, RunsUnderTheLockAndEndsTheLauncher) {
    EXPECT_STARTED(launch({L"vmarg.Dshare=-Xshareclasses:name=x"}));
    ASSERT_EQ(machine.startedProcesses().size(), 1U);
    EXPECT_GE(machine.elapsedMilliseconds(), platform.livesMilliseconds);
    EXPECT_NE(command().find(L"-application com.example.prov -userProvLaunch -vm "), std::wstring::npos);
    EXPECT_TRUE(hasElement(L"\"-Xshareclasses=none\""));
    EXPECT_EQ(command().find(L"name=x"), std::wstring::npos);
    EXPECT_NE(log().find("ZLNCH0073I: Provisioning Command = '\""), std::string::npos);
    EXPECT_EQ(log().find("ZLNCH0072I"), std::string::npos);
    EXPECT_EQ(machine.startedProcesses()[0].start.flags, 0U);
}

TEST_F(Provisioning, OnceItIsDoneThePlatformStarts) {
    EXPECT_STARTED(launch());
    recordManifest();
    EXPECT_STARTED(launch());
    EXPECT_EQ(command().find(L"com.example.prov"), std::wstring::npos);
    EXPECT_NE(log().find("ZLNCH0072I: Command = '"), std::string::npos);
}

TEST_F(Provisioning, ANewManifestRunsItAgain) {
    EXPECT_STARTED(launch());
    recordManifest();
    launcherProperties.set("provisioning.manifest.version", "8");
    layOut();
    EXPECT_STARTED(launch());
    EXPECT_NE(command().find(L"com.example.prov"), std::wstring::npos);
}

TEST_F(Provisioning, APreparedUserIsToldApart) {
    EXPECT_STARTED(launch({L"-zelLauncherWait", L"-provManifest"}));
    EXPECT_NE(command().find(L"-application com.example.prov -vm "), std::wstring::npos);
    EXPECT_EQ(command().find(L"-userProvLaunch"), std::wstring::npos);
    recordManifest();
    EXPECT_STARTED(launch({L"-zelLauncherWait", L"-provManifest"}));
    EXPECT_EQ(machine.startedProcesses().size(), 2U);
}

TEST_F(Provisioning, ASecondLauncherWaitsAtTheLock) {
    const simulation::ProcessId first = begin();
    machine.runUntilIdle(5000);
    EXPECT_EQ(machine.startedProcesses().size(), 1U);
    const simulation::ProcessId second = begin();
    EXPECT_STARTED(machine.waitFor(first));
    EXPECT_TRUE(machine.isRunning(second));
    machine.waitFor(second);
    EXPECT_EQ(machine.startedProcesses().size(), 2U);
}

TEST_F(Provisioning, AChildThatCannotBeStartedIsReported) {
    layOut();
    simulation::Fault fault;
    fault.operation = "createProcess";
    machine.inject(fault);
    EXPECT_FATAL(launch());
    EXPECT_NE(log().find("CreateProcessW failed with error 5: "), std::string::npos);
    EXPECT_NE(log().find("ZLNCH0306I: lock file released @ "), std::string::npos);
    EXPECT_FALSE(machine.exists(inWorkspace(L".zel.main")));
}

TEST_F(Provisioning, OnlySomeKindsAreProvisioned) {
    for (const char* kind : {"lockdown", "multiuser"}) {
        launcherProperties.set("install.configuration", kind);
        layOut();
        machine.remove(workspace);
        EXPECT_STARTED(launch());
        EXPECT_NE(command().find(L"com.example.prov"), std::wstring::npos) << kind;
    }
    for (const char* kind : {"serial.multiuser", "userpb"}) {
        launcherProperties.set("install.configuration", kind);
        layOut();
        machine.remove(workspace);
        EXPECT_STARTED(launch());
        closePlatform();
        EXPECT_EQ(command().find(L"com.example.prov"), std::wstring::npos) << kind;
    }
}

TEST_F(Provisioning, OnlyTheVeryWordAsksForIt) {
    for (const char* word : {"True", "yes", ""}) {
        launcherProperties.set("provisioning", word);
        layOut();
        EXPECT_STARTED(launch());
        closePlatform();
        EXPECT_EQ(command().find(L"com.example.prov"), std::wstring::npos) << word;
    }
}

}  // namespace
