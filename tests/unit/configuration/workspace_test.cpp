#include "configuration/workspace.h"

#include <gtest/gtest.h>

#include <string>

#include "configuration/install_kind.h"
#include "support/faults.h"
#include "support/launcher_fixture.h"

namespace {

using zellauncher::Arguments;
using zellauncher::InstallConfigurationKind;
using zellauncher::PropertyList;

class Workspace : public launchertest::OnMachine {
protected:
    PropertyList launcher = {{L"zel.install.id", L"1234"}};
    InstallConfigurationKind kind = InstallConfigurationKind::user;
    launchertest::Outcome outcome;

    std::wstring data(const Arguments& arguments = {L"prog"}) {
        return resolve(zellauncher::resolveDataDirectory, arguments);
    }
    std::wstring config(const Arguments& arguments = {L"prog"}) {
        return resolve(zellauncher::resolveConfigDirectory, arguments);
    }
    std::wstring fullPathOf(const std::wstring& path) {
        std::wstring full;
        outcome = run([&] { full = zellauncher::resolveWorkspacePath(path); });
        return full;
    }

private:
    // Empty if the process ended.
    std::wstring resolve(decltype(zellauncher::resolveDataDirectory)& directoryOf,
                         const Arguments& arguments) {
        std::wstring directory;
        outcome = run([&] {
            zellauncher::InstallConfiguration = kind;
            directory = directoryOf(launcher, arguments, L"C:\\p");
        });
        return directory;
    }
};

TEST_F(Workspace, DefaultIsBelowTheUsersHome) {
    EXPECT_EQ(data(), L"C:\\Users\\ann/Mivel/ZEL/1234/ann");
    EXPECT_EQ(config(), L"C:\\Users\\ann/Mivel/ZEL/1234/ann/.config");
}

TEST_F(Workspace, ServiceKindsUseTheInstall) {
    launcher.push_back({L"zel.data", L"${never}"});
    kind = InstallConfigurationKind::service;
    EXPECT_EQ(data({L"prog", L"-data", L"x"}), L"C:\\p\\eclipse\\.workspace");
    EXPECT_EQ(config(), L"C:\\p\\eclipse\\.config");
    kind = InstallConfigurationKind::multiuserService;
    EXPECT_EQ(data({L"prog", L"-data", L"x"}), L"C:\\p\\eclipse\\.muservice");
    EXPECT_EQ(config(), L"C:\\p\\eclipse\\.muservice\\.config");
}

TEST_F(Workspace, OtherKindsFollowTheSameRules) {
    for (const InstallConfigurationKind each :
         {InstallConfigurationKind::lockdown, InstallConfigurationKind::serialMultiuser,
          InstallConfigurationKind::unknown, InstallConfigurationKind::multiuser,
          InstallConfigurationKind::userpb}) {
        SCOPED_TRACE("kind " + std::to_string(static_cast<int>(each)));
        kind = each;
        EXPECT_EQ(data(), L"C:\\Users\\ann/Mivel/ZEL/1234/ann");
        EXPECT_EQ(config({L"prog", L"-data", L"D:\\w"}), L"D:\\w/.config");
    }
}

TEST_F(Workspace, ArgumentLosesOneTrailingSeparator) {
    EXPECT_EQ(data({L"prog", L"-data", L"C:\\ws\\"}), L"C:\\ws");
    EXPECT_EQ(data({L"prog", L"-data", L"C:\\ws\\\\"}), L"C:\\ws\\");
    EXPECT_EQ(data({L"prog", L"-data", L"C:/ws/"}), L"C:/ws");
    EXPECT_EQ(data({L"prog", L"-data", L"C:/a", L"-data", L"C:/b"}), L"C:/a");
}

TEST_F(Workspace, TokensInTheArgumentAreResolved) {
    EXPECT_EQ(data({L"prog", L"-data", L"${zel.home}/ws"}), L"C:\\p/ws");
    EXPECT_EQ(data({L"prog", L"-data", L"${env.HOMEDRIVE}/ws"}), L"C:/ws");
    EXPECT_EQ(data({L"prog", L"-data", L"C:/${env.WS}"}), L"C:/${env.WS}");  // an unknown token stays
    data({L"prog", L"-data", L"${env.WS}"});
    outcome.expectFatal("ZLNCH0301E: Starts with placeholder. This should be translated");
}

TEST_F(Workspace, RelativeArgumentIsMadeFull) {
    machine.setCurrentDirectory(L"C:\\work");
    EXPECT_EQ(data({L"prog", L"-data", L"here"}), L"C:\\work\\here");
    EXPECT_EQ(data({L"prog", L"-data", L""}), L"C:\\work");
    data({L"prog", L"-data", std::wstring(300, L'a')});
    outcome.expectFatal("ZLNCH0302E: Unable to convert relative workspace path to a full path");
}

TEST_F(Workspace, OptionWithoutAValueIsIgnored) {
    launcher.push_back({L"zel.data", L"D:/w"});
    EXPECT_EQ(data({L"prog", L"-data"}), L"D:/w");
    EXPECT_EQ(data({L"-data", L"x"}), L"D:/w");
}

TEST_F(Workspace, PropertyMayBeRelativeOrEmpty) {
    launcher = {{L"zel.data", L"${env.HOMEDRIVE}/w/"}};
    EXPECT_EQ(data(), L"C:/w");
    launcher = {{L"zel.data", L"relative"}};
    EXPECT_EQ(data(), L"relative");
    launcher = {{L"zel.data", L""}};
    EXPECT_EQ(data(), L"");
    EXPECT_EQ(config(), L"/.config");
}

TEST_F(Workspace, UnresolvedTokenInThePropertyIsFatal) {
    launcher = {{L"zel.data", L"${env.X}"}};
    data();
    outcome.expectFatal("ZLNCH0099E: zel.data property is invalid (${env.X})");
    launcher = {{L"zel.data", L"${zel.home}/w"}};
    data();
    outcome.expectFatal("ZLNCH0099E: zel.data property is invalid (${zel.home}/w)");
    launcher = {{L"zel.data", L"${prop.x}"}, {L"x", L"${zel.home}/w"}};
    data();
    outcome.expectFatal("ZLNCH0099E: zel.data property is invalid (${zel.home}/w)");
}

TEST_F(Workspace, DefaultNeedsAnIdentityAndAUser) {
    launcher = {};
    data();
    outcome.expectFatal("ZLNCH0035E: Couldn't find the zel.install.id property!");
    launcher = {{L"zel.install.id", L"1"}};
    machine.unsetEnvironment(L"USERNAME");
    data();
    outcome.expectFatal("ZLNCH0037E: Couldn't find the user name!");
}

TEST_F(Workspace, HomeIsHomedriveOtherwiseUserprofile) {
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
    outcome.expectFatal("ZLNCH0082E: Unable to determine user's home directory");
}

TEST_F(Workspace, ServiceKindsNeedNoUser) {
    launcher = {};
    for (const wchar_t* name : {L"USERNAME", L"HOMEDRIVE", L"HOMEPATH", L"USERPROFILE"}) {
        machine.unsetEnvironment(name);
    }
    for (const InstallConfigurationKind each :
         {InstallConfigurationKind::service, InstallConfigurationKind::multiuserService}) {
        SCOPED_TRACE("kind " + std::to_string(static_cast<int>(each)));
        kind = each;
        config();
        EXPECT_EQ(outcome.processEnd().status, 0U);
        EXPECT_EQ(outcome.log, "");
    }
}

TEST_F(Workspace, OtherKindsNeedAUser) {
    machine.unsetEnvironment(L"USERNAME");
    for (const int number : {2, 3, 4, 5, 6, 8}) {
        SCOPED_TRACE("kind " + std::to_string(number));
        kind = static_cast<InstallConfigurationKind>(number);
        config();
        outcome.expectFatal("ZLNCH0037E: Couldn't find the user name!");
    }
}

TEST_F(Workspace, UserNameMayHaveAnyCharacters) {
    machine.setEnvironment(L"USERNAME", L"\u65e5\u672c %s");
    machine.setEnvironment(L"HOMEPATH", L"\\Users\\\u0410\u043d\u043d\u0430");
    EXPECT_EQ(data(), L"C:\\Users\\\u0410\u043d\u043d\u0430/Mivel/ZEL/1234/\u65e5\u672c %s");
}

TEST_F(Workspace, ArgumentWinsOverTheProperty) {
    launcher.push_back({L"zel.data", L"${never}"});
    EXPECT_EQ(data({L"prog", L"-data", L"C:/ws"}), L"C:/ws");
    launcher.setValue(launcher.size() - 1, L"D:/w");
    EXPECT_EQ(data({L"prog", L"-Data", L"C:/ws"}), L"D:/w");
    EXPECT_EQ(data({L"prog", L"-data=C:/ws"}), L"D:/w");
}

TEST_F(Workspace, PropertyLosesOneTrailingSeparator) {
    launcher = {{L"zel.data", L"C:/w//"}};
    EXPECT_EQ(data(), L"C:/w/");
    launcher = {{L"zel.data", L"C:\\w\\"}};
    EXPECT_EQ(data(), L"C:\\w");
    launcher = {{L"zel.data", L"/"}};
    EXPECT_EQ(data(), L"");
}

TEST_F(Workspace, ArgumentResolvesOneHomeToken) {
    EXPECT_EQ(data({L"prog", L"-data", L"${zel.home}/${zel.home}"}), L"C:\\p/${zel.home}");
    launcher.push_back({L"x", L"C:/x"});
    EXPECT_EQ(data({L"prog", L"-data", L"${prop.x}/w"}), L"C:/x/w");
}

TEST_F(Workspace, ConfigDirectoryHasTheSameFatalFailures) {
    launcher = {};
    config();
    outcome.expectFatal("ZLNCH0035E: Couldn't find the zel.install.id property!");
}

TEST_F(Workspace, EmptyIdentityIsAllowed) {
    launcher = {{L"zel.install.id", L""}};
    EXPECT_EQ(data(), L"C:\\Users\\ann/Mivel/ZEL//ann");
}

TEST_F(Workspace, SecondCallGivesTheSameDirectory) {
    run([&] {
        zellauncher::InstallConfiguration = kind;
        const Arguments arguments = {L"prog", L"-data", L"w"};
        const std::wstring first = zellauncher::resolveDataDirectory(launcher, arguments, L"C:\\p");
        EXPECT_EQ(first, L"C:\\w");
        EXPECT_EQ(zellauncher::resolveDataDirectory(launcher, arguments, L"C:\\p"), first);
    });
}

TEST_F(Workspace, AbsolutePathIsUnchanged) {
    machine.setCurrentDirectory(L"C:\\work");
    for (const wchar_t* path : {L"C:\\ws", L"D:/ws/../x\\", L"?:\\", L"C:/", L"\\\\?\\relative", L"\\\\"}) {
        EXPECT_EQ(fullPathOf(path), path);
        EXPECT_EQ(outcome.processEnd().status, 0U);
    }
    for (const simulation::Operation& operation : machine.operations()) {
        EXPECT_NE(operation.name, "fullPathName");
    }
}

TEST_F(Workspace, RelativePathIsMadeFull) {
    machine.setCurrentDirectory(L"C:\\work");
    EXPECT_EQ(fullPathOf(L"ws"), L"C:\\work\\ws");
    EXPECT_EQ(fullPathOf(L"..\\ws/x"), L"C:\\ws\\x");
    EXPECT_EQ(fullPathOf(L"C:ws"), L"C:\\work\\ws");
    EXPECT_EQ(fullPathOf(L"\\ws"), L"C:\\ws");
    EXPECT_EQ(fullPathOf(L"x${a}"), L"C:\\work\\x${a}");
    EXPECT_EQ(fullPathOf(L"\\\\server\\share"), L"\\\\server\\share");
    EXPECT_EQ(machine.operations().at(machine.operationCount() - 1).name, "fullPathName");
}

TEST_F(Workspace, EmptyPathIsTheCurrentDirectory) {
    machine.setCurrentDirectory(L"C:\\work");
    EXPECT_EQ(fullPathOf(L""), L"C:\\work");
}

TEST_F(Workspace, UntranslatedTokenIsFatal) {
    for (const wchar_t* path : {L"${prop.ws}\\x", L"${"}) {
        fullPathOf(path);
        EXPECT_TRUE(outcome.isFatal());
        EXPECT_EQ(outcome.log, "ZLNCH0301E: Starts with placeholder. This should be translated\n");
    }
}

TEST_F(Workspace, FullPathOf260CharactersIsFatal) {
    const std::wstring longest(260 - 1 - 3, L'w');
    EXPECT_EQ(fullPathOf(longest), L"C:\\" + longest);
    fullPathOf(longest + L"w");
    EXPECT_TRUE(outcome.isFatal());
    EXPECT_EQ(outcome.log, "ZLNCH0302E: Unable to convert relative workspace path to a full path\n");
}

TEST_F(Workspace, FailedConversionIsFatal) {
    machine.inject(launchertest::failing("fullPathName", platform::errorAccessDenied));
    fullPathOf(L"ws");
    outcome.expectFatal("ZLNCH0302E: Unable to convert relative workspace path to a full path");
}

}  // namespace
