#include "javalaunch/class_path.h"

#include "unit/javalaunch/command_fixture.h"

namespace {

using zellauncher::InstallConfigurationKind;

class ClassPath : public javalaunchtest::CommandTest {
protected:
    ClassPath() { install = {{L"zel.install.id", L"1234"}}; }

    const std::wstring& bootClassPath() {
        return write([&] { zellauncher::appendBootClassPath(install); });
    }
    const std::wstring& classPath() {
        return write([&] { zellauncher::appendClassPath(install); });
    }
};

TEST_F(ClassPath, JvmOptionsAreQuotedAsAWhole) {
    set(install, L"-Xmx", L"512m");
    set(install, L"-Xrs", L"");
    set(install, L"-x", L"no");
    EXPECT_EQ(bootClassPath(), L" \"-Xmx512m\" \"-Xrs\"");
    isMain = false;
    EXPECT_EQ(bootClassPath(), L"\n-Xmx512m\n-Xrs");
}

TEST_F(ClassPath, JvmOptionsAfterAnEmptyKeyAreIgnored) {
    install.push_back({L"", L""});
    install.push_back({L"-Xhidden", L""});
    EXPECT_EQ(bootClassPath(), L"");
}

TEST_F(ClassPath, BootClassPathsAreWrittenEvenIfEmpty) {
    set(install, L"Xbootclasspath.prepend", L"a b");
    set(install, L"Xbootclasspath.append", L"");
    EXPECT_EQ(bootClassPath(), L" -Xbootclasspath/p:\"a b\" -Xbootclasspath/a:\"\"");
    isMain = false;
    EXPECT_EQ(bootClassPath(), L"\n-Xbootclasspath/p:a b\n-Xbootclasspath/a:");
}

TEST_F(ClassPath, ClassPathIsThePropertyOrTheStartupJar) {
    EXPECT_EQ(classPath(), L"");
    set(install, L"cp", L"x.jar");
    EXPECT_EQ(classPath(), L" -cp \"x.jar\"");
    kind = InstallConfigurationKind::multiuserService;
    set(install, L"zel.base.location", L"C:/b");
    EXPECT_EQ(classPath(), L" -cp \"C:/b/startup.jar\"");
    unset(install, L"zel.base.location");
    EXPECT_EQ(classPath(), L" -cp \"/startup.jar\"");
}

}  // namespace
