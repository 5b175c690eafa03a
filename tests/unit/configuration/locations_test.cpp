#include "configuration/locations.h"

#include <gtest/gtest.h>

#include "configuration/install_configuration.h"
#include "support/launcher_fixture.h"

namespace {

using zellauncher::Arguments;
using zellauncher::InstallConfigurationKind;
using zellauncher::PropertyList;

class Locations : public launchertest::OnMachine {
protected:
    PropertyList launcher = {{L"zel.install.id", L"1234"}};
    InstallConfigurationKind kind = InstallConfigurationKind::user;
    std::wstring home = L"C:\\p";
    launchertest::Outcome outcome;

    std::wstring data(const Arguments& arguments = {L"prog"}) {
        std::wstring directory;
        outcome = run([&] {
            zellauncher::InstallConfiguration = kind;
            zellauncher::resolveDataDirectory(directory, launcher, arguments, home);
        });
        return directory;
    }
    std::wstring config(const Arguments& arguments = {L"prog"}) {
        std::wstring directory;
        outcome = run([&] {
            zellauncher::InstallConfiguration = kind;
            zellauncher::resolveConfigDirectory(directory, launcher, arguments, home);
        });
        return directory;
    }
    std::wstring base(const std::wstring& directory, const std::wstring& name) {
        std::wstring path;
        run([&] {
            zellauncher::InstallConfiguration = kind;
            zellauncher::baseFilePath(path, directory, name);
        });
        return path;
    }
    void expectFatal(const std::string& message) {
        EXPECT_TRUE(outcome.isFatal());
        EXPECT_EQ(outcome.lastLine(), message);
    }
};

TEST_F(Locations, TheDefaultLiesUnderTheUsersHome) {
    EXPECT_EQ(data(), L"C:\\Users\\ann/Mivel/ZEL/1234/ann");
    EXPECT_EQ(config(), L"C:\\Users\\ann/Mivel/ZEL/1234/ann/.config");
}

TEST_F(Locations, ServicesLiveInsideTheInstall) {
    launcher.push_back({L"zel.data", L"${never}"});
    kind = InstallConfigurationKind::service;
    EXPECT_EQ(data({L"prog", L"-data", L"x"}), L"C:\\p\\eclipse\\.workspace");
    EXPECT_EQ(config(), L"C:\\p\\eclipse\\.config");
    kind = InstallConfigurationKind::multiuserService;
    EXPECT_EQ(data({L"prog", L"-data", L"x"}), L"C:\\p\\eclipse\\.muservice");
    EXPECT_EQ(config(), L"C:\\p\\eclipse\\.muservice\\.config");
}

TEST_F(Locations, AllOtherKindsFollowTheSameRules) {
    for (const InstallConfigurationKind each :
         {InstallConfigurationKind::lockdown, InstallConfigurationKind::serialMultiuser,
          InstallConfigurationKind::unknown, InstallConfigurationKind::multiuser,
          InstallConfigurationKind::userpb}) {
        kind = each;
        EXPECT_EQ(data(), L"C:\\Users\\ann/Mivel/ZEL/1234/ann");
        EXPECT_EQ(config({L"prog", L"-data", L"D:\\w"}), L"D:\\w/.config");
    }
}

TEST_F(Locations, TheArgumentLosesOneSeparator) {
    EXPECT_EQ(data({L"prog", L"-data", L"C:\\ws\\"}), L"C:\\ws");
    EXPECT_EQ(data({L"prog", L"-data", L"C:\\ws\\\\"}), L"C:\\ws\\");
    EXPECT_EQ(data({L"prog", L"-data", L"C:/ws/"}), L"C:/ws");
    EXPECT_EQ(data({L"prog", L"-data", L"C:/a", L"-data", L"C:/b"}), L"C:/a");
}

TEST_F(Locations, TokensInTheArgument) {
    EXPECT_EQ(data({L"prog", L"-data", L"${zel.home}/ws"}), L"C:\\p/ws");
    EXPECT_EQ(data({L"prog", L"-data", L"${env.HOMEDRIVE}/ws"}), L"C:/ws");
    EXPECT_EQ(data({L"prog", L"-data", L"C:/${env.WS}"}), L"C:/${env.WS}");  // what is unknown stays
    data({L"prog", L"-data", L"${env.WS}"});
    expectFatal("ZLNCH0301E: Starts with placeholder. This should be translated");
}

TEST_F(Locations, ARelativeArgumentIsMadeFull) {
    machine.setCurrentDirectory(L"C:\\work");
    EXPECT_EQ(data({L"prog", L"-data", L"here"}), L"C:\\work\\here");
    EXPECT_EQ(data({L"prog", L"-data", L""}), L"C:\\work");
    data({L"prog", L"-data", std::wstring(300, L'a')});
    expectFatal("ZLNCH0302E: Unable to convert relative workspace path to a full path");
}

TEST_F(Locations, AnArgumentWithoutAValueCountsAsAbsent) {
    launcher.push_back({L"zel.data", L"D:/w"});
    EXPECT_EQ(data({L"prog", L"-data"}), L"D:/w");
    EXPECT_EQ(data({L"-data", L"x"}), L"D:/w");
}

TEST_F(Locations, TheProperty) {
    launcher = {{L"zel.data", L"${env.HOMEDRIVE}/w/"}};
    EXPECT_EQ(data(), L"C:/w");
    launcher = {{L"zel.data", L"relative"}};
    EXPECT_EQ(data(), L"relative");
    launcher = {{L"zel.data", L""}};
    EXPECT_EQ(data(), L"");
    EXPECT_EQ(config(), L"/.config");
}

TEST_F(Locations, APropertyWithAnUnknownTokenIsFatal) {
    launcher = {{L"zel.data", L"${env.X}"}};
    data();
    expectFatal("ZLNCH0099E: zel.data property is invalid (${env.X})");
    launcher = {{L"zel.data", L"${zel.home}/w"}};
    data();
    expectFatal("ZLNCH0099E: zel.data property is invalid (${zel.home}/w)");
    launcher = {{L"zel.data", L"${prop.x}"}, {L"x", L"${zel.home}/w"}};
    data();
    expectFatal("ZLNCH0099E: zel.data property is invalid (${zel.home}/w)");
}

TEST_F(Locations, TheDefaultNeedsAnIdentityAndAUser) {
    launcher = {};
    data();
    expectFatal("ZLNCH0035E: Couldn't find the zel.install.id property!");
    launcher = {{L"zel.install.id", L"1"}};
    machine.unsetEnvironment(L"USERNAME");
    data();
    expectFatal("ZLNCH0037E: Couldn't find the user name!");
}

TEST_F(Locations, TheHomeOfTheUser) {
    machine.setEnvironment(L"HOMEPATH", L"\\");
    EXPECT_EQ(data(), L"C:/Mivel/ZEL/1234/ann");
    machine.unsetEnvironment(L"HOMEPATH");
    machine.setEnvironment(L"USERPROFILE", L"D:\\profile");
    EXPECT_EQ(data(), L"D:\\profile/Mivel/ZEL/1234/ann");
    EXPECT_TRUE(outcome.logHas("ZLNCH0081I:  Environmental variable 'HOMEPATH' is not set"));
    machine.setEnvironment(L"HOMEPATH", L"\\h");
    machine.unsetEnvironment(L"HOMEDRIVE");
    EXPECT_EQ(data(), L"D:\\profile/Mivel/ZEL/1234/ann");
    machine.unsetEnvironment(L"USERPROFILE");
    data();
    expectFatal("ZLNCH0082E: Unable to determine user's home directory");
}

TEST_F(Locations, TheProgramsName) {
    std::wstring name;
    zellauncher::platformProgramName(name, {});
    EXPECT_EQ(name, L"eclipse.exe");
    zellauncher::platformProgramName(name, {{L"eclipse.name", L"own.exe"}, {L"eclipse.name", L"other"}});
    EXPECT_EQ(name, L"own.exe");
    zellauncher::platformProgramName(name, {{L"eclipse.name", L""}});
    EXPECT_EQ(name, L"");
}

TEST_F(Locations, AFileOfTheKindWinsOverTheBases) {
    const std::vector<std::pair<InstallConfigurationKind, std::wstring>> directories = {
        {InstallConfigurationKind::service, L"C:\\b\\config\\\\f"},
        {InstallConfigurationKind::lockdown, L"C:\\b\\config\\user\\f"},
        {InstallConfigurationKind::user, L"C:\\b\\config\\user\\f"},
        {InstallConfigurationKind::serialMultiuser, L"C:\\b\\config\\\\f"},
        {InstallConfigurationKind::unknown, L"C:\\b\\config\\\\f"},
        {InstallConfigurationKind::multiuser, L"C:\\b\\config\\user\\f"},
        {InstallConfigurationKind::multiuserService, L"C:\\b\\config\\muservice\\f"},
        {InstallConfigurationKind::userpb, L"C:\\b\\config\\pbuilder\\f"}};
    for (const auto& [each, path] : directories) {
        kind = each;
        EXPECT_EQ(base(L"C:/b", L"f"), L"C:\\b\\f");
        machine.writeFile(path, "");
        EXPECT_EQ(base(L"C:/b", L"f"), path);
        machine.remove(L"C:\\b");
    }
}

TEST_F(Locations, TheLaunchersOwnProgram) {
    std::wstring path;
    outcome = run([&] { zellauncher::locateProgram(path, L"zel\\zellauncher.exe"); });
    EXPECT_EQ(
        path,
        L"C:\\Apps\\framework\\Client\\zel\\zellauncher.exe");  // the module's, as the word names nothing
    machine.writeFile(L"C:\\other.exe", "");
    outcome = run([&] { zellauncher::locateProgram(path, L"other.exe"); });
    EXPECT_EQ(path, L"C:\\other.exe");
    outcome = run([&] {
        machine.remove(L"C:\\Apps");
        zellauncher::locateProgram(path, L"gone.exe");
    });
    expectFatal("ZLNCH0047E: Unable to locate C:\\Apps\\framework\\Client\\zel\\zellauncher.exe");
}

TEST_F(Locations, ServicesNeedNoUser) {
    launcher = {};
    for (const wchar_t* name : {L"USERNAME", L"HOMEDRIVE", L"HOMEPATH", L"USERPROFILE"}) {
        machine.unsetEnvironment(name);
    }
    for (const InstallConfigurationKind each :
         {InstallConfigurationKind::service, InstallConfigurationKind::multiuserService}) {
        kind = each;
        config();
        EXPECT_EQ(outcome.end.status, 0U);
        EXPECT_EQ(outcome.log, "");
    }
}

TEST_F(Locations, EveryOtherKindNeedsAUser) {
    machine.unsetEnvironment(L"USERNAME");
    for (const int number : {2, 3, 4, 5, 6, 8}) {
        kind = static_cast<InstallConfigurationKind>(number);
        config();
        expectFatal("ZLNCH0037E: Couldn't find the user name!");
    }
}

TEST_F(Locations, AUserMayHaveAnyName) {
    machine.setEnvironment(L"USERNAME", L"\u65e5\u672c %s");
    machine.setEnvironment(L"HOMEPATH", L"\\Users\\\u0410\u043d\u043d\u0430");
    EXPECT_EQ(data(), L"C:\\Users\\\u0410\u043d\u043d\u0430/Mivel/ZEL/1234/\u65e5\u672c %s");
}

TEST_F(Locations, TheArgumentWinsOverTheProperty) {
    launcher.push_back({L"zel.data", L"${never}"});
    EXPECT_EQ(data({L"prog", L"-data", L"C:/ws"}), L"C:/ws");
    launcher.back().value = L"D:/w";
    EXPECT_EQ(data({L"prog", L"-Data", L"C:/ws"}), L"D:/w");
    EXPECT_EQ(data({L"prog", L"-data=C:/ws"}), L"D:/w");
}

TEST_F(Locations, ThePropertyLosesOneSeparator) {
    launcher = {{L"zel.data", L"C:/w//"}};
    EXPECT_EQ(data(), L"C:/w/");
    launcher = {{L"zel.data", L"C:\\w\\"}};
    EXPECT_EQ(data(), L"C:\\w");
    launcher = {{L"zel.data", L"/"}};
    EXPECT_EQ(data(), L"");
}

TEST_F(Locations, OneTokenOfTheInstallIsResolvedInTheArgument) {
    EXPECT_EQ(data({L"prog", L"-data", L"${zel.home}/${zel.home}"}), L"C:\\p/${zel.home}");
    launcher.push_back({L"x", L"C:/x"});
    EXPECT_EQ(data({L"prog", L"-data", L"${prop.x}/w"}), L"C:/x/w");
}

TEST_F(Locations, FailuresOfTheWorkspaceAreThoseOfTheConfigurationToo) {
    launcher = {};
    config();
    expectFatal("ZLNCH0035E: Couldn't find the zel.install.id property!");
}

TEST_F(Locations, AnIdentityWithoutAValueIsAnIdentity) {
    launcher = {{L"zel.install.id", L""}};
    EXPECT_EQ(data(), L"C:\\Users\\ann/Mivel/ZEL//ann");
}

TEST_F(Locations, TheSameAnswerComesOutEachTime) {
    run([&] {
        zellauncher::InstallConfiguration = kind;
        std::wstring first = L"left over";
        std::wstring second;
        const Arguments arguments = {L"prog", L"-data", L"w"};
        zellauncher::resolveDataDirectory(first, launcher, arguments, home);
        zellauncher::resolveDataDirectory(second, launcher, arguments, home);
        EXPECT_EQ(first, L"C:\\w");
        EXPECT_EQ(first, second);
    });
}

}  // namespace
