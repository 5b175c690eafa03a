#include "javalaunch/system_properties.h"

#include "unit/javalaunch/command_fixture.h"

namespace {

using zellauncher::InstallConfigurationKind;

class SystemProperties : public javalaunchtest::CommandTest {
protected:
    SystemProperties() {
        launcher = {{L"zel.data", L"D:/w"}};
        install = {{L"zel.install.id", L"1234"}};
    }
    const std::wstring& properties() {
        return write([&] { zellauncher::appendSystemProperties(install, launcher, arguments, home); });
    }
    const std::wstring& boot() {
        return write([&] { zellauncher::appendBootClassPath(install); });
    }
    const std::wstring& classPath() {
        return write([&] { zellauncher::appendClassPath(install); });
    }
};

TEST_F(SystemProperties, StandInTheirOrder) {
    set(launcher, L"osgi.splashPath", L"file:/s");
    set(install, L"osgi.splashPath", L"never");
    set(install, L"-Da", L"1");
    set(install, L"-D", L"");
    EXPECT_EQ(properties(),
              L" -Dzel.home=\"C:\\Apps\\Client\" -Dzel.data=\"D:/w\" -Dosgi.splashPath=\"file:/s\""
              L" -Dcom.mivel.zel.install.id=\"1234\" -Dzel.install.config=\"user\" -Da=\"1\" -D=\"\""
              L" -Dzel.osgi.install.area=\"C:\\Apps\\Client\\zel\\eclipse\"");
}

TEST_F(SystemProperties, HaveNoQuotesOnADaemon) {
    isMain = false;
    home = L"C:/My Apps/Client";
    set(install, L"-Dkey", L"");
    EXPECT_EQ(
        properties(),
        L"\n-Dzel.home=C:/My Apps/Client\n-Dzel.data=D:/w\n-Dcom.mivel.zel.install.id=1234"
        L"\n-Dzel.install.config=user\n-Dkey=\n-Dzel.osgi.install.area=C:\\My Apps\\Client\\zel\\eclipse");
}

TEST_F(SystemProperties, TheSplashPathComesFromTheLauncherPropertiesAlone) {
    set(install, L"osgi.splashPath", L"file:/s");
    EXPECT_EQ(properties().find(L"splash"), std::wstring::npos);
}

TEST_F(SystemProperties, EachKindHasItsWord) {
    const std::vector<std::pair<InstallConfigurationKind, std::wstring>> words = {
        {InstallConfigurationKind::service, L"service"},
        {InstallConfigurationKind::lockdown, L"lockdown"},
        {InstallConfigurationKind::user, L"user"},
        {InstallConfigurationKind::serialMultiuser, L"serial.multiuser"},
        {InstallConfigurationKind::multiuser, L"multiuser"},
        {InstallConfigurationKind::multiuserService, L"multiuser"},
        {InstallConfigurationKind::userpb, L"userpb"}};
    for (const auto& [each, word] : words) {
        kind = each;
        EXPECT_NE(properties().find(L"-Dzel.install.config=\"" + word + L"\""), std::wstring::npos);
    }
    kind = InstallConfigurationKind::unknown;
    properties();
    expectFatal("ZLNCH0025E: The platform zel.install.id must be provided for this configuration!");
}

TEST_F(SystemProperties, NeedAnIdentity) {
    unset(install, L"zel.install.id");
    properties();
    expectFatal("ZLNCH0036E: Couldn't find the zel.install.id property!");
}

TEST_F(SystemProperties, RepeatedKeysAreRepeatedElements) {
    install.push_back({L"-Da", L"1"});
    install.push_back({L"-Da", L"2"});
    EXPECT_NE(properties().find(L" -Da=\"1\" -Da=\"2\""), std::wstring::npos);
}

TEST_F(SystemProperties, AnEmptyKeyHidesWhatStandsBehindIt) {
    install.push_back({L"", L""});
    install.push_back({L"-Dhidden", L"1"});
    install.push_back({L"-Xhidden", L""});
    EXPECT_EQ(properties().find(L"hidden"), std::wstring::npos);
    EXPECT_EQ(boot(), L"");
}

TEST_F(SystemProperties, EachElementOfAFileIsLogged) {
    set(install, L"-Da", L"1");
    launchertest::Outcome logged = run([&] {
        zellauncher::isMainProcess = true;
        zellauncher::InstallConfiguration = kind;
        zellauncher::appendSystemProperties(install, launcher, arguments, home);
    });
    EXPECT_TRUE(logged.logHas("ZLNCH0075I: commandArg  = \"-Da=\"1\"\""));
}

TEST_F(SystemProperties, OptionsOfTheJvmAreQuotedAsAWhole) {
    set(install, L"-Xmx", L"512m");
    set(install, L"-Xrs", L"");
    set(install, L"-x", L"no");
    EXPECT_EQ(boot(), L" \"-Xmx512m\" \"-Xrs\"");
    isMain = false;
    EXPECT_EQ(boot(), L"\n-Xmx512m\n-Xrs");
}

TEST_F(SystemProperties, BootClassPaths) {
    set(install, L"Xbootclasspath.prepend", L"a b");
    set(install, L"Xbootclasspath.append", L"");
    EXPECT_EQ(boot(), L" -Xbootclasspath/p:\"a b\" -Xbootclasspath/a:\"\"");
    isMain = false;
    EXPECT_EQ(boot(), L"\n-Xbootclasspath/p:a b\n-Xbootclasspath/a:");
}

TEST_F(SystemProperties, TheClassPath) {
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
