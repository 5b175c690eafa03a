#include "javalaunch/system_properties.h"

#include <utility>

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
};

TEST_F(SystemProperties, OrderIsFixed) {
    set(launcher, L"osgi.splashPath", L"file:/s");
    set(install, L"osgi.splashPath", L"never");
    set(install, L"-Da", L"1");
    set(install, L"-D", L"");
    EXPECT_EQ(properties(),
              L" -Dzel.home=\"C:\\Apps\\Client\" -Dzel.data=\"D:/w\" -Dosgi.splashPath=\"file:/s\""
              L" -Dcom.mivel.zel.install.id=\"1234\" -Dzel.install.config=\"user\" -Da=\"1\" -D=\"\""
              L" -Dzel.osgi.install.area=\"C:\\Apps\\Client\\zel\\eclipse\"");
}

TEST_F(SystemProperties, DaemonWritesNoQuotes) {
    isMain = false;
    home = L"C:/My Apps/Client";
    set(install, L"-Dkey", L"");
    EXPECT_EQ(
        properties(),
        L"\n-Dzel.home=C:/My Apps/Client\n-Dzel.data=D:/w\n-Dcom.mivel.zel.install.id=1234"
        L"\n-Dzel.install.config=user\n-Dkey=\n-Dzel.osgi.install.area=C:\\My Apps\\Client\\zel\\eclipse");
}

TEST_F(SystemProperties, SplashPathOfTheInstallListIsIgnored) {
    set(install, L"osgi.splashPath", L"file:/s");
    EXPECT_EQ(properties().find(L"splash"), std::wstring::npos);
}

TEST_F(SystemProperties, EveryKindHasAValueExceptUnknown) {
    const std::vector<std::pair<InstallConfigurationKind, std::wstring>> values = {
        {InstallConfigurationKind::service, L"service"},
        {InstallConfigurationKind::lockdown, L"lockdown"},
        {InstallConfigurationKind::user, L"user"},
        {InstallConfigurationKind::serialMultiuser, L"serial.multiuser"},
        {InstallConfigurationKind::multiuser, L"multiuser"},
        {InstallConfigurationKind::multiuserService, L"multiuser"},
        {InstallConfigurationKind::userpb, L"userpb"}};
    for (const auto& [each, value] : values) {
        kind = each;
        EXPECT_NE(properties().find(L"-Dzel.install.config=\"" + value + L"\""), std::wstring::npos) << value;
    }
    kind = InstallConfigurationKind::unknown;
    properties();
    outcome.expectFatal("ZLNCH0025E: The platform zel.install.id must be provided for this configuration!");
}

TEST_F(SystemProperties, MissingInstallIdIsFatal) {
    unset(install, L"zel.install.id");
    properties();
    outcome.expectFatal("ZLNCH0036E: Couldn't find the zel.install.id property!");
}

TEST_F(SystemProperties, RepeatedKeysAreAllWritten) {
    install.push_back({L"-Da", L"1"});
    install.push_back({L"-Da", L"2"});
    EXPECT_NE(properties().find(L" -Da=\"1\" -Da=\"2\""), std::wstring::npos);
}

TEST_F(SystemProperties, PropertiesAfterAnEmptyKeyAreIgnored) {
    install.push_back({L"", L""});
    install.push_back({L"-Dhidden", L"1"});
    EXPECT_EQ(properties().find(L"hidden"), std::wstring::npos);
}

TEST_F(SystemProperties, PropertiesOfFilesAreLogged) {
    set(install, L"-Da", L"1");
    outcome = run([&] {
        zellauncher::isMainProcess = true;
        zellauncher::InstallConfiguration = kind;
        zellauncher::appendSystemProperties(install, launcher, arguments, home);
    });
    EXPECT_TRUE(outcome.logHas("ZLNCH0075I: commandArg  = \"-Da=\"1\"\""));
}

}  // namespace
