#include "javalaunch/jvm_root.h"

#include <algorithm>
#include <optional>

#include "unit/javalaunch/command_fixture.h"

namespace {

using zellauncher::Arguments;
using zellauncher::findParentJvmRoot;
using zellauncher::findPluginJvmRoot;
using zellauncher::lookupProperty;

constexpr const wchar_t* pluginJvm = L"C:/p/eclipse/plugins/com.x.jvm_1.0/jre/bin/javaw.exe";

class JvmRoot : public javalaunchtest::CommandTest {
protected:
    zellauncher::JvmRoot root;

    JvmRoot() {
        home = L"C:\\p";
        install = {{L"scrivia.workspace.loc", L"C:/ws"}};
    }
    void resolve(const Arguments& commandLine = {L"prog"}) {
        outcome = runQuietly([&] {
            root = {};
            const auto found = zellauncher::resolveJvmRoot(install, commandLine, home);
            EXPECT_TRUE(found.has_value());
            root = found.value_or(zellauncher::JvmRoot{});
        });
    }
    std::wstring rootProperty() const {
        const std::wstring* found = lookupProperty(L"jvm.root", install);
        return found != nullptr ? *found : L"(absent)";
    }
};

TEST_F(JvmRoot, StartWithoutAJvmUsesTheInstall) {
    resolve();
    EXPECT_EQ(root.vmPath, L"");
    EXPECT_TRUE(root.externalJvm);
    EXPECT_EQ(root.jvmPropertiesPath, L"C:/p/zel/deploy/jvm.properties");
    EXPECT_EQ(rootProperty(), L"C:/p/zel/deploy/");
    EXPECT_EQ(outcome.log, "ZLNCH0119I: VM specified is \"external JVM\"\n");
    install.push_back({L"vm", L""});
    resolve();
    EXPECT_TRUE(root.externalJvm);
    EXPECT_EQ(outcome.log, "ZLNCH0119I: VM specified is \"external JVM\"\n");
}

TEST_F(JvmRoot, ArgumentBeatsTheProperty) {
    install.push_back({L"vm", L"${zel.home}/jvm/bin/javaw.exe"});
    resolve();
    EXPECT_EQ(root.vmPath, L"C:/p/jvm/bin/javaw.exe");
    EXPECT_EQ(outcome.log, "ZLNCH0021I: VM specified is \"C:/p/jvm/bin/javaw.exe\"\n");
    resolve({L"prog", L"-vm", L"D:\\x\\java.exe"});
    EXPECT_EQ(root.vmPath, L"D:/x/java.exe");
}

TEST_F(JvmRoot, RootIsTrimmedAsItsPropertyIs) {
    machine.writeFile(L"C:\\ jvm\\jvm.properties", "");
    resolve({L"prog", L"-vm", L" jvm/bin/javaw.exe"});
    EXPECT_EQ(rootProperty(), L"jvm/");
    EXPECT_EQ(root.jvmPropertiesPath, L"jvm/jvm.properties");
}

TEST_F(JvmRoot, OnlyTheFirstHomeTokenIsReplaced) {
    resolve({L"prog", L"-vm", L"${zel.home}\\a\\${zel.home}"});
    EXPECT_EQ(root.vmPath, L"C:/p/a/${zel.home}");
}

TEST_F(JvmRoot, VmOptionAfterVmargsIsUsedToo) {
    resolve({L"-vm", L"-vmargs", L"-vm", L"D:/x/java.exe", L"-vm", L"never"});
    EXPECT_EQ(root.vmPath, L"D:/x/java.exe");
}

TEST_F(JvmRoot, VmOptionWithoutAValueIsFatal) {
    install.push_back({L"vm", L"C:/x/java.exe"});
    const std::string message = "ZLNCH0079E: -vm on command line must be followed by a valid jvm path.";
    resolve({L"prog", L"-vm"});
    outcome.expectFatal(message);
    resolve({L"prog", L"-vm", L""});
    outcome.expectFatal(message);
}

TEST_F(JvmRoot, PluginWithPropertiesIsTheRoot) {
    machine.writeFile(L"C:\\p\\eclipse\\plugins\\com.x.jvm_1.0\\jvm.properties", "java.home=first\r\n");
    resolve({L"prog", L"-vm", pluginJvm});
    EXPECT_FALSE(root.externalJvm);
    EXPECT_EQ(rootProperty(), L"C:/p/eclipse/plugins/com.x.jvm_1.0/");
}

TEST_F(JvmRoot, PluginsDirectoryItselfGivesTheCurrentDirectory) {
    machine.setCurrentDirectory(L"C:\\here");
    machine.writeFile(L"C:\\here\\jvm.properties", "");
    resolve({L"prog", L"-vm", L"C:/p/eclipse/plugins/javaw.exe"});
    EXPECT_FALSE(root.externalJvm);
    EXPECT_EQ(root.jvmPropertiesPath, L"jvm.properties");
}

TEST_F(JvmRoot, PluginWithoutPropertiesFallsBackToTheParents) {
    machine.writeFile(L"C:\\p\\eclipse\\plugins\\com.x.jvm_1.0\\jre\\jvm.properties", "");
    resolve({L"prog", L"-vm", pluginJvm});
    EXPECT_TRUE(root.externalJvm);
    EXPECT_EQ(rootProperty(), L"C:/p/eclipse/plugins/com.x.jvm_1.0/jre/");
}

TEST_F(JvmRoot, ParentsTwoToFourLevelsUpAreSearched) {
    const std::wstring vm = L"C:/x/jvm/bin/javaw.exe";
    for (const std::wstring directory : {L"C:\\", L"C:\\x\\", L"C:\\x\\jvm\\"}) {
        machine.writeFile(directory + L"jvm.properties", "");
        install = {};
        resolve({L"prog", L"-vm", vm});
        std::wstring slashed = directory;
        std::replace(slashed.begin(), slashed.end(), L'\\', L'/');
        EXPECT_EQ(root.jvmPropertiesPath, slashed + L"jvm.properties");
    }
    machine.writeFile(L"C:\\x\\jvm\\bin\\jvm.properties", "");  // one level up is not searched
    install = {};
    resolve({L"prog", L"-vm", vm});
    EXPECT_EQ(root.jvmPropertiesPath, L"C:/x/jvm/jvm.properties");
}

TEST_F(JvmRoot, ShortPathFallsBackToTheWorkspace) {
    machine.writeFile(L"C:\\ws\\jvm.properties", "");
    resolve({L"prog", L"-vm", L"C:/javaw.exe"});
    EXPECT_EQ(root.jvmPropertiesPath, L"C:/ws/jvm.properties");
    machine.writeFile(L"C:\\x\\jvm.properties", "");
    runQuietly([] {
        EXPECT_EQ(findParentJvmRoot(L"C:/x"), std::nullopt);
        EXPECT_EQ(findParentJvmRoot(L"D:/x/java.exe"), std::nullopt);
        EXPECT_EQ(findParentJvmRoot(L"javaw.exe"), std::nullopt);
        EXPECT_EQ(findParentJvmRoot(L""), std::nullopt);
    });
}

TEST_F(JvmRoot, FiveLevelsUpIsTooFar) {
    machine.writeFile(L"C:\\jvm.properties", "");
    resolve({L"prog", L"-vm", L"C:/x/y/jvm/bin/javaw.exe"});
    EXPECT_EQ(root.jvmPropertiesPath, L"C:/p/zel/deploy/jvm.properties");
}

TEST_F(JvmRoot, SearchEndsAtTheFirstSlash) {
    machine.writeFile(L"C:\\jvm.properties", "");
    runQuietly([] {
        EXPECT_EQ(findParentJvmRoot(L"/java.exe"), std::nullopt);
        // The current directory, C:\, is not searched.
        EXPECT_EQ(findParentJvmRoot(L"javaw.exe"), std::nullopt);
        EXPECT_EQ(findParentJvmRoot(L"/x/java.exe"), L"/");
    });
}

TEST_F(JvmRoot, TrailingSlashIsALevel) {
    machine.writeFile(L"C:\\x\\jvm.properties", "");
    runQuietly([] { EXPECT_EQ(findParentJvmRoot(L"C:/x/java.exe/"), L"C:/x/"); });
}

TEST_F(JvmRoot, SystemGetsPathsWithBackslashes) {
    runQuietly([] { EXPECT_FALSE(zellauncher::hasJvmProperties(L"C:/x/")); });
    EXPECT_TRUE(hasOperationWith(L"C:\\x\\jvm.properties"));
}

TEST_F(JvmRoot, WorkspaceVariablesAreEmptyBeforeTheFirstSearch) {
    runQuietly([] {
        EXPECT_FALSE(zellauncher::jvmPropertiesInWorkspace);
        EXPECT_EQ(zellauncher::jvmPolicyFilePath, L"");
    });
}

TEST_F(JvmRoot, WorkspaceVariablesHoldTheLastSearch) {
    for (const bool doesExist : {false, true}) {
        if (doesExist) {
            machine.writeFile(L"C:\\ws\\jvm.properties", "");
        }
        runQuietly([&] {
            zellauncher::resolveJvmRoot(install, {L"prog"}, home);
            EXPECT_EQ(zellauncher::jvmPolicyFilePath, L"C:/ws\\jvm.properties");
            EXPECT_EQ(zellauncher::jvmPropertiesInWorkspace, doesExist);
        });
    }
}

TEST_F(JvmRoot, StartWithoutAWorkspaceUsesTheInstall) {
    install = {};
    resolve();
    EXPECT_EQ(root.jvmPropertiesPath, L"C:/p/zel/deploy/jvm.properties");
}

TEST_F(JvmRoot, PluginPathNeedsItsMarkerAndADirectory) {
    machine.writeFile(L"C:\\eclipse\\plugins\\a\\jvm.properties", "");
    runQuietly([] {
        EXPECT_EQ(findPluginJvmRoot(L""), std::nullopt);
        EXPECT_EQ(findPluginJvmRoot(L"/eclipse/plugins"), std::nullopt);
        EXPECT_EQ(findPluginJvmRoot(L"C:/eclipse/plugins/a"), std::nullopt);
        EXPECT_EQ(findPluginJvmRoot(L"C:/eclipse/plugins/a/b"), L"C:/eclipse/plugins/a/");
        EXPECT_EQ(findPluginJvmRoot(L"C:/eclipse/plugins/a/eclipse/plugins/b/c"), L"C:/eclipse/plugins/a/");
    });
}

TEST_F(JvmRoot, SearchInTheWorkspaceIsADebugLine) {
    outcome = run([&] { zellauncher::resolveJvmRoot(install, {L"prog"}, home); });
    EXPECT_TRUE(outcome.logHas("ZLNCH0119I: In loadJVMPropertiesFileFromWorkspace "));
    EXPECT_TRUE(outcome.logHas("ZLNCH0119I: Scrivia Workspace Location (from zelInstallArray) is \"C:/ws\""));
    EXPECT_TRUE(
        outcome.logHas("ZLNCH0119I: JVM property file check in workspace location , jvmPolicyFilePath -  "
                       "\"C:/ws\\jvm.properties\""));
    machine.writeFile(L"C:\\ws\\jvm.properties", "");
    outcome = run([&] { zellauncher::resolveJvmRoot(install, {L"prog"}, home); });
    EXPECT_TRUE(outcome.logHas(" JVM property file loading from workspace location"));
}

}  // namespace
