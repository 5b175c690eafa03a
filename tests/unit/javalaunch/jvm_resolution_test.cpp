#include "javalaunch/jvm_resolution.h"

#include <algorithm>

#include "unit/javalaunch/command_fixture.h"

namespace {

using zellauncher::Arguments;
using zellauncher::JvmRoot;
using zellauncher::lookupProperty;

class JvmResolution : public javalaunchtest::CommandTest {
protected:
    JvmRoot root;

    JvmResolution() {
        home = L"C:\\p";
        install = {{L"scrivia.workspace.loc", L"C:/ws"}};
    }
    void resolve(const Arguments& words = {L"prog"}) {
        outcome = runQuietly([&] {
            root = JvmRoot{};
            EXPECT_TRUE(zellauncher::resolveJvmRoot(install, words, home, root));
        });
    }
    void load() {
        outcome = runQuietly([&] { zellauncher::loadJvmProperties(install, overrides, root, home); });
    }
    std::wstring value(const std::wstring& key) {
        const std::wstring* found = lookupProperty(key, install);
        return found != nullptr ? *found : L"(absent)";
    }
};

TEST_F(JvmResolution, WithoutAVmTheInstallsOwnPropertiesServe) {
    resolve();
    EXPECT_EQ(root.vmPath, L"");
    EXPECT_TRUE(root.externalJvm);
    runQuietly([&] {
        root.externalJvm = false;  // of an earlier answer
        zellauncher::resolveJvmRoot(install, {L"prog"}, home, root);
    });
    EXPECT_TRUE(root.externalJvm);
    EXPECT_EQ(root.jvmPropertiesPath, L"C:/p/zel/deploy/jvm.properties");
    EXPECT_EQ(value(L"jvm.root"), L"C:/p/zel/deploy/");
    EXPECT_EQ(outcome.log, "ZLNCH0119I: VM specified is \"external JVM\"\n");
    install.push_back({L"vm", L""});
    resolve();
    EXPECT_EQ(outcome.log, "ZLNCH0119I: VM specified is \"external JVM\"\n");
}

TEST_F(JvmResolution, TheArgumentWinsOverTheProperty) {
    install.push_back({L"vm", L"${zel.home}/jvm/bin/javaw.exe"});
    resolve();
    EXPECT_EQ(root.vmPath, L"C:/p/jvm/bin/javaw.exe");
    EXPECT_EQ(outcome.log, "ZLNCH0021I: VM specified is \"C:/p/jvm/bin/javaw.exe\"\n");
    resolve({L"prog", L"-vm", L"D:\\x\\java.exe"});
    EXPECT_EQ(root.vmPath, L"D:/x/java.exe");
}

TEST_F(JvmResolution, TheFirstHomeTokenOfTheValueAloneIsReplaced) {
    resolve({L"prog", L"-vm", L"${zel.home}\\a\\${zel.home}"});
    EXPECT_EQ(root.vmPath, L"C:/p/a/${zel.home}");
}

TEST_F(JvmResolution, AnOptionBehindVmargsIsTheSourceToo) {
    resolve({L"-vm", L"-vmargs", L"-vm", L"D:/x/java.exe", L"-vm", L"never"});
    EXPECT_EQ(root.vmPath, L"D:/x/java.exe");
}

TEST_F(JvmResolution, AnOptionNeedsItsValue) {
    install.push_back({L"vm", L"C:/x/java.exe"});
    const std::string message = "ZLNCH0079E: -vm on command line must be followed by a valid jvm path.";
    resolve({L"prog", L"-vm"});
    expectFatal(message);
    resolve({L"prog", L"-vm", L""});
    expectFatal(message);
}

TEST_F(JvmResolution, APluginWithPropertiesIsTheRoot) {
    machine.writeFile(L"C:\\p\\eclipse\\plugins\\com.x.jvm_1.0\\jvm.properties", "java.home=first\r\n");
    resolve({L"prog", L"-vm", L"C:/p/eclipse/plugins/com.x.jvm_1.0/jre/bin/javaw.exe"});
    EXPECT_FALSE(root.externalJvm);
    EXPECT_EQ(value(L"jvm.root"), L"C:/p/eclipse/plugins/com.x.jvm_1.0/");
    load();
    // The file's own comes first; the launcher's stands behind it.
    EXPECT_EQ(value(L"java.home"), L"first");
    EXPECT_EQ(install.back().key, L"java.home");
    EXPECT_EQ(install.back().value, L"C:/p/eclipse/plugins/com.x.jvm_1.0");
}

TEST_F(JvmResolution, AJvmInAPluginHasThatAsItsHome) {
    machine.writeFile(L"C:\\p\\eclipse\\plugins\\com.x.jvm_1.0\\jvm.properties", "");
    resolve({L"prog", L"-vm", L"C:/p/eclipse/plugins/com.x.jvm_1.0/jre/bin/javaw.exe"});
    load();
    EXPECT_EQ(value(L"java.home"), L"C:/p/eclipse/plugins/com.x.jvm_1.0");
}

TEST_F(JvmResolution, APluginRootWithoutADirectoryHasNoHomeEither) {
    machine.setCurrentDirectory(L"C:\\here");
    machine.writeFile(L"C:\\here\\jvm.properties", "");
    resolve({L"prog", L"-vm", L"C:/p/eclipse/plugins/javaw.exe"});
    EXPECT_FALSE(root.externalJvm);
    EXPECT_EQ(root.jvmPropertiesPath, L"jvm.properties");
    load();
    EXPECT_EQ(value(L"java.home"), L"");
}

TEST_F(JvmResolution, APluginWithoutPropertiesLeavesItToTheDirectoriesAbove) {
    machine.writeFile(L"C:\\p\\eclipse\\plugins\\com.x.jvm_1.0\\jre\\jvm.properties", "");
    resolve({L"prog", L"-vm", L"C:/p/eclipse/plugins/com.x.jvm_1.0/jre/bin/javaw.exe"});
    EXPECT_TRUE(root.externalJvm);
    EXPECT_EQ(value(L"jvm.root"), L"C:/p/eclipse/plugins/com.x.jvm_1.0/jre/");
}

TEST_F(JvmResolution, DirectoriesTwoThreeAndFourLevelsUpAreTried) {
    const std::wstring vm = L"C:/x/jvm/bin/javaw.exe";
    for (const std::wstring directory : {L"C:\\", L"C:\\x\\", L"C:\\x\\jvm\\"}) {
        machine.writeFile(directory + L"jvm.properties", "");
        install = {};
        resolve({L"prog", L"-vm", vm});
        std::wstring slashed = directory;
        std::replace(slashed.begin(), slashed.end(), L'\\', L'/');
        EXPECT_EQ(root.jvmPropertiesPath, slashed + L"jvm.properties");
    }
    machine.writeFile(L"C:\\x\\jvm\\bin\\jvm.properties", "");  // one level up is not looked at
    install = {};
    resolve({L"prog", L"-vm", vm});
    EXPECT_EQ(root.jvmPropertiesPath, L"C:/x/jvm/jvm.properties");
}

TEST_F(JvmResolution, APathWithTooFewLevelsFallsToTheWorkspace) {
    machine.writeFile(L"C:\\ws\\jvm.properties", "");
    resolve({L"prog", L"-vm", L"C:/javaw.exe"});
    EXPECT_EQ(root.jvmPropertiesPath, L"C:/ws/jvm.properties");
    machine.writeFile(L"C:\\x\\jvm.properties", "");
    std::wstring parent = L"kept";
    machine.run({L"C:\\x.exe"}, [&] {
        EXPECT_FALSE(zellauncher::findParentJvmRoot(L"C:/x", parent));
        EXPECT_FALSE(zellauncher::findParentJvmRoot(L"D:/x/java.exe", parent));
        EXPECT_FALSE(zellauncher::findParentJvmRoot(L"javaw.exe", parent));
        EXPECT_FALSE(zellauncher::findParentJvmRoot(L"", parent));
        return 0;
    });
    EXPECT_EQ(parent, L"kept");
}

TEST_F(JvmResolution, FiveLevelsUpIsTooFar) {
    machine.writeFile(L"C:\\jvm.properties", "");
    resolve({L"prog", L"-vm", L"C:/x/y/jvm/bin/javaw.exe"});
    EXPECT_EQ(root.jvmPropertiesPath, L"C:/p/zel/deploy/jvm.properties");
}

TEST_F(JvmResolution, AVmWithBackslashesHasAJavaHomeWithForwardOnes) {
    machine.writeFile(L"C:\\j\\jvm.properties", "");
    root.vmPath = L"C:\\j\\jvm\\bin\\javaw.exe";
    root.externalJvm = true;
    root.jvmPropertiesPath = L"C:/j/jvm.properties";
    load();
    EXPECT_EQ(value(L"java.home"), L"C:/j");
}

TEST_F(JvmResolution, AboveTheFirstSlashThereIsNothing) {
    machine.writeFile(L"C:\\jvm.properties", "");
    std::wstring parent = L"kept";
    machine.run({L"C:\\x.exe"}, [&] {
        EXPECT_FALSE(zellauncher::findParentJvmRoot(L"/java.exe", parent));
        EXPECT_FALSE(zellauncher::findParentJvmRoot(L"javaw.exe", parent));  // no current directory either
        EXPECT_TRUE(zellauncher::findParentJvmRoot(L"/x/java.exe", parent));
        return 0;
    });
    EXPECT_EQ(parent, L"/");
}

TEST_F(JvmResolution, ATrailingSlashIsALevel) {
    machine.writeFile(L"C:\\x\\jvm.properties", "");
    std::wstring parent;
    machine.run({L"C:\\x.exe"}, [&] {
        EXPECT_TRUE(zellauncher::findParentJvmRoot(L"C:/x/java.exe/", parent));
        return 0;
    });
    EXPECT_EQ(parent, L"C:/x/");
}

TEST_F(JvmResolution, ASearchAsksTheSystemForPathsWithBackslashes) {
    runQuietly([] { EXPECT_FALSE(zellauncher::hasJvmProperties(L"C:/x/")); });
    EXPECT_TRUE(askedFor(L"C:\\x\\jvm.properties"));
}

TEST_F(JvmResolution, BeforeTheFirstLookTheWorkspaceHasNothing) {
    runQuietly([] {
        EXPECT_FALSE(zellauncher::jvmPropertiesInWorkspace);
        EXPECT_EQ(zellauncher::jvmPolicyFilePath, L"");
    });
}

TEST_F(JvmResolution, RemembersWhatItLookedForInTheWorkspace) {
    for (const bool isThere : {false, true}) {
        if (isThere) {
            machine.writeFile(L"C:\\ws\\jvm.properties", "");
        }
        runQuietly([&] {
            zellauncher::resolveJvmRoot(install, {L"prog"}, home, root);
            EXPECT_EQ(zellauncher::jvmPolicyFilePath, L"C:/ws\\jvm.properties");
            EXPECT_EQ(zellauncher::jvmPropertiesInWorkspace, isThere);
        });
    }
}

TEST_F(JvmResolution, WithoutAWorkspaceTheInstallServes) {
    install = {};
    resolve();
    EXPECT_EQ(root.jvmPropertiesPath, L"C:/p/zel/deploy/jvm.properties");
}

TEST_F(JvmResolution, APluginPathIsRecognisedByItsMarker) {
    std::wstring found = L"kept";
    bool external = false;
    machine.writeFile(L"C:\\eclipse\\plugins\\a\\jvm.properties", "");
    machine.run({L"C:\\x.exe"}, [&] {
        EXPECT_FALSE(zellauncher::findPluginJvmRoot(L"", found, external));
        EXPECT_FALSE(zellauncher::findPluginJvmRoot(L"/eclipse/plugins", found, external));
        EXPECT_TRUE(external);
        EXPECT_EQ(found, L"kept");
        EXPECT_FALSE(zellauncher::findPluginJvmRoot(L"C:/eclipse/plugins/a", found, external));
        EXPECT_EQ(found, L"");
        EXPECT_TRUE(zellauncher::findPluginJvmRoot(L"C:/eclipse/plugins/a/b", found, external));
        EXPECT_EQ(found, L"C:/eclipse/plugins/a/");
        EXPECT_FALSE(external);
        EXPECT_TRUE(
            zellauncher::findPluginJvmRoot(L"C:/eclipse/plugins/a/eclipse/plugins/b/c", found, external));
        EXPECT_EQ(found, L"C:/eclipse/plugins/a/");
        return 0;
    });
}

TEST_F(JvmResolution, LoadingTakesOverridesAndRewritesTheLibraryPath) {
    machine.writeFile(L"C:\\p\\zel\\deploy\\jvm.properties",
                      "vmarg.Xmx=-Xmx1g\r\njvm.library.path=lib/x\r\n-Xrs\r\n");
    resolve();
    load();
    EXPECT_EQ(outcome.log, "ZLNCH0077I: loading jvm.properties at \"C:/p/zel/deploy/jvm.properties\"\n");
    EXPECT_EQ(overrides[L"vmarg.Xmx"], L"-Xmx1g");
    EXPECT_EQ(value(L"vmarg.Xmx"), L"(absent)");
    EXPECT_EQ(value(L"jvm.library.path"), L"${prop.java.home}/lib/x");
    EXPECT_EQ(value(L"java.home"), L"C:/p");
}

TEST_F(JvmResolution, AJavaHomeOfTheFileStaysForAnExternalJvm) {
    machine.writeFile(L"C:\\p\\zel\\deploy\\jvm.properties", "java.home=mine\r\njvm.library.path=\r\n");
    resolve();
    load();
    EXPECT_EQ(value(L"java.home"), L"mine");
    EXPECT_EQ(install.back().key, L"jvm.library.path");
    EXPECT_EQ(value(L"jvm.library.path"), L"");
}

TEST_F(JvmResolution, AMissingFileIsFatal) {
    resolve();
    load();
    expectFatal("ZLNCH0096E: Unable to load C:/p/zel/deploy/jvm.properties file!");
}

TEST_F(JvmResolution, TheJavaHomeStandsInFrontOfJvmBin) {
    const auto derived = [](const std::wstring& vm) {
        std::wstring javaHome;
        zellauncher::deriveJavaHome(vm, javaHome, L"default");
        return javaHome;
    };
    EXPECT_EQ(derived(L"C:/x/jvm/bin/javaw.exe"), L"C:/x");
    EXPECT_EQ(derived(L"C:/x/jre/bin/javaw.exe"), L"default");
    EXPECT_EQ(derived(L""), L"default");
    EXPECT_EQ(derived(L"jvm/bin/java.exe"), L"");
    EXPECT_EQ(derived(L"C:/jvm/bin/jvm/bin/x"), L"C:");
}

TEST_F(JvmResolution, TellsWhereItLookedInADebugRun) {
    const auto told = run([&] { zellauncher::resolveJvmRoot(install, {L"prog"}, home, root); });
    EXPECT_TRUE(told.logHas("ZLNCH0119I: In loadJVMPropertiesFileFromWorkspace "));
    EXPECT_TRUE(told.logHas("ZLNCH0119I: Scrivia Workspace Location (from zelInstallArray) is \"C:/ws\""));
    EXPECT_TRUE(
        told.logHas("ZLNCH0119I: JVM property file check in workspace location , jvmPolicyFilePath -  "
                    "\"C:/ws\\jvm.properties\""));
    machine.writeFile(L"C:\\ws\\jvm.properties", "");
    const auto found = run([&] { zellauncher::resolveJvmRoot(install, {L"prog"}, home, root); });
    EXPECT_TRUE(found.logHas(" JVM property file loading from workspace location"));
}

}  // namespace
