#include <gtest/gtest.h>

#include "platform/files.h"
#include "scenarios/story.h"
#include "support/faults.h"
#include "support/run_length.h"
#include "support/text.h"

namespace {

using scenarios::contains;
using scenarios::Story;

// The configuration is moved away and created again because the install has changed or the user asks for it.
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

TEST_F(Renewal, ChangedIdentityRenewsTheConfigurationOnce) {
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
    EXPECT_TRUE(machine.exists(inConfig(L"kept")));  // renewed only once
}

TEST_F(Renewal, IdentityIsCaseSensitive) {
    launcherProperties.set("zel.install.id", "abc");
    startOnce();
    launcherProperties.set("zel.install.id", "ABC");
    layOut();
    EXPECT_STARTED(launch());
    EXPECT_TRUE(machine.exists(inWorkspace(L".configbak")));
}

TEST_F(Renewal, ChangedIdentitySkipsTheReset) {
    startOnce();
    machine.writeFile(inWorkspace(L".metadata\\.plugins\\views\\x"), "");
    baseProperties.set("resetDir.views", "views");
    changeInstall();
    EXPECT_STARTED(launch({L"-resetconfig"}));
    EXPECT_TRUE(machine.exists(inWorkspace(L".metadata\\.plugins\\views\\x")));
    EXPECT_TRUE(machine.exists(inWorkspace(L"platform.xml.old")));
}

TEST_F(Renewal, ResetRemovesTheConfiguredDirectories) {
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
    EXPECT_FALSE(contains(*configFile(L"args.properties"), "resetconfig"));
}

TEST_F(Renewal, SecondResetReplacesTheBackup) {
    startOnce();
    EXPECT_STARTED(launch({L"-resetconfig"}));
    closePlatform();
    machine.writeFile(inConfig(L"second"), "");
    EXPECT_STARTED(launch({L"-resetconfig"}));
    EXPECT_TRUE(machine.exists(inWorkspace(L".configbak\\second")));
    EXPECT_FALSE(machine.exists(inWorkspace(L".configbak\\mine")));
    for (const std::wstring& path : machine.tree(workspace)) {
        EXPECT_FALSE(contains(path, L"deleteme"));
    }
}

TEST_F(Renewal, RestartWithAResetIsFatal) {
    startOnce();
    EXPECT_FATAL(launch({L"-restart", L"-resetconfig"}));
    EXPECT_TRUE(
        logHas("ZLNCH0096E: Unable to load C:/Users/ann/Mivel/ZEL/1234/ann/.config\\args.properties file!"));
}

// The templates of the install are read-only, as some installers leave them. The user's copies are not.
class ReadOnlyTemplates : public Renewal {
protected:
    ReadOnlyTemplates() {
        layOut();
        const std::wstring marker = std::wstring(installDir) + L"\\shared\\eclipse\\.eclipseextension";
        machine.writeFile(marker, "marker");
        machine.setAttributes(marker, ::platform::attributeReadOnly);
        for (const wchar_t* name : {L"\\zelinstall.properties", L"\\config.ini", L"\\platform.xml"}) {
            machine.setAttributes(base + std::wstring(name), ::platform::attributeReadOnly);
        }
    }
    void expectWritableFilesOnly() {
        for (const std::wstring& path : machine.tree(workspace)) {
            EXPECT_EQ(machine.attributes(path) & ::platform::attributeReadOnly, 0U)
                << launchertest::toUtf8(path);
            EXPECT_FALSE(contains(path, L"deleteme"));
        }
    }
};

TEST_F(ReadOnlyTemplates, GiveWritableFiles) {
    startOnce();
    EXPECT_TRUE(machine.exists(inWorkspace(L"applications\\eclipse\\.eclipseextension")));
    expectWritableFilesOnly();
}

TEST_F(ReadOnlyTemplates, DoNotHinderAnyReset) {
    startOnce();
    for (int reset = 1; reset <= 10; ++reset) {
        SCOPED_TRACE(reset);
        EXPECT_STARTED(launch({L"-resetconfig"}));
        closePlatform();
        EXPECT_STARTED(launch());
        closePlatform();
        expectWritableFilesOnly();
    }
}

TEST_F(ReadOnlyTemplates, DoNotHinderTheRecoveryFromTheBackup) {
    startOnce();
    const std::string good = *configFile(L"zelinstall.properties");
    for (int damage = 1; damage <= 3; ++damage) {
        SCOPED_TRACE(damage);
        machine.writeFile(inConfig(L"zelinstall.properties"), "application=x\r\n");
        EXPECT_STARTED(launch());
        closePlatform();
        EXPECT_EQ(configFile(L"zelinstall.properties"), good);
        EXPECT_TRUE(machine.exists(inConfig(L"mine")));  // recovered, not reset
        expectWritableFilesOnly();
    }
}

// A renewal is stopped at each of its operations in turn. The next starts recover without help, and registry
// and bookmarks are kept where a later reset brings them back.
class StoppedRenewal : public Renewal {
protected:
    enum class Reason { changedInstall, resetOption };

    void stopAtEachOperation(Reason reason) {
        const std::vector<std::wstring> arguments = reason == Reason::resetOption
                                                        ? std::vector<std::wstring>{L"-resetconfig"}
                                                        : std::vector<std::wstring>{};
        const std::uint64_t step = launchertest::isSanitized() ? 20 : 1;
        for (std::uint64_t operation = 1;; operation += step) {
            SCOPED_TRACE(operation);
            machine.stopDeadAt(0);
            machine.remove(workspace);
            launcherProperties.set("zel.install.id", "1234");
            layOut();
            startOnce();
            if (reason == Reason::changedInstall) {
                changeInstall();
            }
            machine.stopDeadAt(operation);
            const simulation::ProcessEnd end = launch(arguments);
            machine.stopDeadAt(0);
            if (end.kind != simulation::EndKind::stoppedDead) {
                EXPECT_GT(operation, 100U);
                return;
            }
            machine.runUntilIdle(120000);  // until a platform that it had started has ended
            EXPECT_STARTED(launch(arguments));
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

TEST_F(StoppedRenewal, OfAChangedInstallIsRecovered) {
    stopAtEachOperation(Reason::changedInstall);
}

TEST_F(StoppedRenewal, OfAResetIsRecovered) {
    stopAtEachOperation(Reason::resetOption);
}

// The provisioning application runs instead of the platform for a new install or a new user.
class Provisioning : public Story {
protected:
    Provisioning() {
        launcherProperties.set("provisioning", "true");
        launcherProperties.set("provisioning.manifest.version", "7");
        launcherProperties.set("provisioning.application", "com.example.prov");
        platform.livesMilliseconds = 30000;
    }
    // What the provisioning application adds to the user's properties.
    void recordManifest() {
        machine.writeFile(inConfig(L"zelinstall.properties"),
                          *configFile(L"zelinstall.properties") + "provisioning.manifest.version=7\r\n");
    }
};

TEST_F(Provisioning, RunsItsApplicationInsteadOfThePlatform) {
    EXPECT_STARTED(launch({L"vmarg.Dshare=-Xshareclasses:name=x"}));
    ASSERT_EQ(machine.startedProcesses().size(), 1U);
    EXPECT_GE(machine.elapsedMilliseconds(), platform.livesMilliseconds);
    EXPECT_TRUE(contains(command(), L"-application com.example.prov -userProvLaunch -vm "));
    EXPECT_TRUE(hasElement(L"\"-Xshareclasses=none\""));
    EXPECT_FALSE(contains(command(), L"name=x"));
    EXPECT_TRUE(logHas("ZLNCH0073I: Provisioning Command = '" + launchertest::toUtf8(command()) + "'"));
    EXPECT_FALSE(contains(log(), "ZLNCH0072I"));
    EXPECT_EQ(machine.startedProcesses()[0].start.flags, 0U);
}

TEST_F(Provisioning, PlatformStartsOnceItIsDone) {
    EXPECT_STARTED(launch());
    recordManifest();
    EXPECT_STARTED(launch());
    EXPECT_FALSE(contains(command(), L"com.example.prov"));
    EXPECT_TRUE(contains(log(), "ZLNCH0072I: Command = '"));
}

TEST_F(Provisioning, NewManifestRunsItAgain) {
    EXPECT_STARTED(launch());
    recordManifest();
    launcherProperties.set("provisioning.manifest.version", "8");
    layOut();
    EXPECT_STARTED(launch());
    EXPECT_TRUE(contains(command(), L"com.example.prov"));
}

// The administrator rolls a new manifest out while the user works.
TEST_F(Provisioning, NewManifestIsLeftAloneWhileThePlatformRuns) {
    EXPECT_STARTED(launch());
    recordManifest();
    EXPECT_STARTED(launch());
    launcherProperties.set("provisioning.manifest.version", "8");
    layOut();
    EXPECT_STARTED(launch({L"hello"}));
    EXPECT_EQ(machine.startedProcesses().size(), 2U);
    ASSERT_EQ(payloads().size(), 1U);
    EXPECT_TRUE(contains(payloads()[0], L"\nhello\n"));
    EXPECT_FALSE(contains(payloads()[0], L"com.example.prov"));
    closePlatform();
    EXPECT_STARTED(launch());
    EXPECT_TRUE(contains(command(), L"com.example.prov"));
}

TEST_F(Provisioning, PreparationOmitsUserProvLaunch) {
    EXPECT_STARTED(launch({L"-zelLauncherWait", L"-provManifest"}));
    EXPECT_TRUE(contains(command(), L"-application com.example.prov -vm "));
    EXPECT_FALSE(contains(command(), L"-userProvLaunch"));
    recordManifest();
    EXPECT_STARTED(launch({L"-zelLauncherWait", L"-provManifest"}));
    EXPECT_EQ(machine.startedProcesses().size(), 2U);
}

TEST_F(Provisioning, SecondLauncherWaitsAtTheLock) {
    const simulation::ProcessId first = begin();
    machine.runUntilIdle(5000);
    EXPECT_EQ(machine.startedProcesses().size(), 1U);
    const simulation::ProcessId second = begin();
    EXPECT_STARTED(machine.waitFor(first));
    EXPECT_TRUE(machine.isRunning(second));
    machine.waitFor(second);
    EXPECT_EQ(machine.startedProcesses().size(), 2U);
}

TEST_F(Provisioning, ChildThatCannotBeStartedIsFatal) {
    layOut();
    machine.inject(launchertest::failing("createProcess", ::platform::errorAccessDenied));
    EXPECT_FATAL(launch());
    EXPECT_TRUE(contains(log(), "CreateProcessW failed with error 5: "));
    EXPECT_TRUE(contains(log(), "ZLNCH0306I: lock file released @ "));
    EXPECT_FALSE(machine.exists(inWorkspace(L".zel.main")));
}

TEST_F(Provisioning, OnlySomeKindsAreProvisioned) {
    for (const char* kind : {"lockdown", "multiuser"}) {
        launcherProperties.set("install.configuration", kind);
        layOut();
        machine.remove(workspace);
        EXPECT_STARTED(launch());
        EXPECT_TRUE(contains(command(), L"com.example.prov")) << kind;
    }
    for (const char* kind : {"serial.multiuser", "userpb"}) {
        launcherProperties.set("install.configuration", kind);
        layOut();
        machine.remove(workspace);
        EXPECT_STARTED(launch());
        closePlatform();
        EXPECT_FALSE(contains(command(), L"com.example.prov")) << kind;
    }
}

TEST_F(Provisioning, OnlyTheValueTrueEnablesIt) {
    for (const char* value : {"True", "yes", ""}) {
        launcherProperties.set("provisioning", value);
        layOut();
        EXPECT_STARTED(launch());
        closePlatform();
        EXPECT_FALSE(contains(command(), L"com.example.prov")) << value;
    }
}

}  // namespace
