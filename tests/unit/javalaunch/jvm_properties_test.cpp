#include "javalaunch/jvm_properties.h"

#include "unit/javalaunch/command_fixture.h"

namespace {

using zellauncher::Arguments;
using zellauncher::JvmRoot;
using zellauncher::lookupProperty;

constexpr const wchar_t* pluginJvm = L"C:/p/eclipse/plugins/com.x.jvm_1.0/jre/bin/javaw.exe";
constexpr const wchar_t* pluginProperties = L"C:\\p\\eclipse\\plugins\\com.x.jvm_1.0\\jvm.properties";
constexpr const wchar_t* installProperties = L"C:\\p\\zel\\deploy\\jvm.properties";

class JvmProperties : public javalaunchtest::CommandTest {
protected:
    JvmRoot root;

    JvmProperties() {
        home = L"C:\\p";
        install = {{L"scrivia.workspace.loc", L"C:/ws"}};
    }
    // Resolves the root of the JVM that the arguments name and loads its jvm.properties.
    void load(const Arguments& commandLine = {L"prog"}) {
        outcome = runQuietly(
            [&] { root = zellauncher::resolveJvmRoot(install, commandLine, home).value_or(JvmRoot{}); });
        loadRoot();
    }
    void loadRoot() {
        outcome = runQuietly([&] { zellauncher::loadJvmProperties(install, overrides, root, home); });
    }
    std::wstring value(const std::wstring& key) const {
        const std::wstring* found = lookupProperty(key, install);
        return found != nullptr ? *found : L"(absent)";
    }
};

TEST_F(JvmProperties, PluginsJavaHomeComesAfterTheFilesOwn) {
    machine.writeFile(pluginProperties, "java.home=first\r\n");
    load({L"prog", L"-vm", pluginJvm});
    EXPECT_EQ(value(L"java.home"), L"first");
    EXPECT_EQ(install.back().key, L"java.home");
    EXPECT_EQ(install.back().value, L"C:/p/eclipse/plugins/com.x.jvm_1.0");
}

TEST_F(JvmProperties, JavaHomeOfAPluginJvmIsThePlugin) {
    machine.writeFile(pluginProperties, "");
    load({L"prog", L"-vm", pluginJvm});
    EXPECT_EQ(value(L"java.home"), L"C:/p/eclipse/plugins/com.x.jvm_1.0");
}

TEST_F(JvmProperties, JavaHomeIsEmptyForARootWithoutDirectory) {
    machine.setCurrentDirectory(L"C:\\here");
    machine.writeFile(L"C:\\here\\jvm.properties", "");
    load({L"prog", L"-vm", L"C:/p/eclipse/plugins/javaw.exe"});
    EXPECT_FALSE(root.externalJvm);
    EXPECT_EQ(root.jvmPropertiesPath, L"jvm.properties");
    EXPECT_EQ(value(L"java.home"), L"");
}

TEST_F(JvmProperties, JavaHomeHasForwardSlashes) {
    machine.writeFile(L"C:\\j\\jvm.properties", "");
    root.vmPath = L"C:\\j\\jvm\\bin\\javaw.exe";
    root.externalJvm = true;
    root.jvmPropertiesPath = L"C:/j/jvm.properties";
    loadRoot();
    EXPECT_EQ(value(L"java.home"), L"C:/j");
}

TEST_F(JvmProperties, OverridesMoveAndLibraryPathIsPrefixed) {
    machine.writeFile(installProperties, "vmarg.Xmx=-Xmx1g\r\njvm.library.path=lib/x\r\n-Xrs\r\n");
    load();
    EXPECT_EQ(outcome.log, "ZLNCH0077I: loading jvm.properties at \"C:/p/zel/deploy/jvm.properties\"\n");
    EXPECT_EQ(overrides[L"vmarg.Xmx"], L"-Xmx1g");
    EXPECT_EQ(value(L"vmarg.Xmx"), L"(absent)");
    EXPECT_EQ(value(L"jvm.library.path"), L"${prop.java.home}/lib/x");
    EXPECT_EQ(value(L"java.home"), L"C:/p");
}

TEST_F(JvmProperties, ExternalJvmKeepsTheFilesJavaHome) {
    machine.writeFile(installProperties, "java.home=mine\r\njvm.library.path=\r\n");
    load();
    EXPECT_EQ(value(L"java.home"), L"mine");
    EXPECT_EQ(install.back().key, L"jvm.library.path");
    EXPECT_EQ(value(L"jvm.library.path"), L"");
}

TEST_F(JvmProperties, MissingFileIsFatal) {
    load();
    outcome.expectFatal("ZLNCH0096E: Unable to load C:/p/zel/deploy/jvm.properties file!");
}

TEST_F(JvmProperties, JavaHomeIsThePartBeforeJvmBin) {
    const auto derived = [](const std::wstring& vm) { return zellauncher::deriveJavaHome(vm, L"default"); };
    EXPECT_EQ(derived(L"C:/x/jvm/bin/javaw.exe"), L"C:/x");
    EXPECT_EQ(derived(L"C:/x/jre/bin/javaw.exe"), L"default");
    EXPECT_EQ(derived(L""), L"default");
    EXPECT_EQ(derived(L"jvm/bin/java.exe"), L"");
    EXPECT_EQ(derived(L"C:/jvm/bin/jvm/bin/x"), L"C:");
}

}  // namespace
