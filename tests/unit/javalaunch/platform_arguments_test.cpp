#include "javalaunch/platform_arguments.h"

#include "unit/javalaunch/command_fixture.h"

namespace {

using zellauncher::Arguments;
using zellauncher::InstallConfigurationKind;

class PlatformArguments : public javalaunchtest::CommandTest {
protected:
    const std::wstring tail =
        L" -data \"D:/w\" -configuration \"D:/w/.config\" -plugincustomization \"C:/c.ini\"";

    PlatformArguments() {
        launcher = {{L"zel.data", L"D:/w"}, {L"zel.install.id", L"1"}};
        install = {{L"zel.install.id", L"1"}, {L"plugincustomization", L"C:/c.ini"}};
        machine.writeFile(L"C:\\c.ini", "");
    }
    const std::wstring& program() {
        return write([&] { zellauncher::appendLauncherProgram(install, launcher); });
    }
    const std::wstring& platform(const Arguments& words) {
        arguments = words;
        return write([&] { zellauncher::appendPlatformArguments(install, launcher, arguments, home); });
    }
    const std::wstring& startup(const Arguments& words) {
        return write([&] { zellauncher::appendStartupArgument(install, words); });
    }
    const std::wstring& vmArguments(const Arguments& words, bool vmIsLibrary = false) {
        return write(
            [&] { zellauncher::appendVmArguments(L"C:/data", install, words, vmIsLibrary, overrides); });
    }
};

TEST_F(PlatformArguments, TheNativeLauncherStandsAtTheHead) {
    set(install, L"zel.base.location", L"C:/b");
    machine.writeFile(L"C:\\b\\win32\\x86_64\\eclipse.exe", "");
    EXPECT_EQ(program(), L"\"C:/b\\win32\\x86_64\\eclipse.exe\"");
    isMain = false;
    EXPECT_EQ(program(), L"C:/b\\win32\\x86_64\\eclipse.exe");
    set(launcher, L"eclipse.name", L"own.exe");
    program();
    expectFatal("ZLNCH0007E: C:/b\\win32\\x86_64\\own.exe is not executable or does not exist.");
    machine.writeFile(L"C:\\b\\win32\\x86_64\\own.txt", "");
    set(launcher, L"eclipse.name", L"own.txt");
    program();
    expectFatal("ZLNCH0007E: C:/b\\win32\\x86_64\\own.txt is not executable or does not exist.");
    unset(install, L"zel.base.location");
    program();
    expectFatal(
        "ZLNCH0011E: Unable to determine ZEL Base Plugin location. If the problem persists, reinstall.");
}

TEST_F(PlatformArguments, WithoutWordsOnlyTheLaunchersOwnStand) {
    EXPECT_EQ(platform({L"prog"}), L" --launcher.suppressErrors" + tail);
    EXPECT_EQ(platform({}), L" --launcher.suppressErrors" + tail);
}

TEST_F(PlatformArguments, DebugTakesTheSuppressionAway) {
    EXPECT_EQ(platform({L"prog", L"-debug"}), L" \"-debug\"" + tail);
}

TEST_F(PlatformArguments, OrdinaryWordsPassQuoted) {
    EXPECT_EQ(platform({L"prog", L"a b", L"", L"-console", L"-perfJar", L"x.jar"}),
              L" --launcher.suppressErrors \"a b\" \"\" \"-console\" \"-perfJar\" \"x.jar\"" + tail);
}

TEST_F(PlatformArguments, WhatTheLauncherReckonsItselfIsDropped) {
    EXPECT_EQ(platform({L"prog", L"-data", L"E:/w", L"-configuration", L"c", L"-vm", L"v", L"-restart",
                        L"-zel_old_pid", L"7", L"-resetconfig", L"x"}),
              L" --launcher.suppressErrors \"x\" -data \"E:/w\" -configuration \"E:/w/.config\""
              L" -plugincustomization \"C:/c.ini\"");
}

TEST_F(PlatformArguments, TheProgramsWordIsNoOption) {
    EXPECT_EQ(platform({L"-debug", L"-restart"}), L" --launcher.suppressErrors" + tail);
    EXPECT_EQ(platform({L"-application", L"x"}), L" --launcher.suppressErrors \"x\"" + tail);
}

TEST_F(PlatformArguments, RequestsThatThePlatformReadsTooPass) {
    EXPECT_EQ(platform({L"prog", L"-consoleLog", L"-zelLauncherWait", L"-provManifest"}),
              L" --launcher.suppressErrors \"-consoleLog\" \"-zelLauncherWait\" \"-provManifest\"" + tail);
}

TEST_F(PlatformArguments, ADaemonsListHasNoQuotes) {
    isMain = false;
    EXPECT_EQ(platform({L"prog", L"a b", L"-product", L"x"}),
              L"\n--launcher.suppressErrors\na b\n-product\nx\n-data\nD:/w\n-configuration\nD:/w/.config"
              L"\n-plugincustomization\nC:/c.ini");
}

TEST_F(PlatformArguments, TheSecondOfAnOptionIsAnOrdinaryWord) {
    EXPECT_EQ(platform({L"prog", L"-configuration", L"a", L"-configuration", L"b"}),
              L" --launcher.suppressErrors \"-configuration\" \"b\"" + tail);
}

TEST_F(PlatformArguments, ChoicesOfTheUserStandWhereTheyWereMade) {
    set(install, L"application", L"ia");
    set(install, L"personality", L"ip");
    set(launcher, L"product", L"lp");
    set(install, L"product", L"never");
    EXPECT_EQ(
        platform({L"prog", L"-product", L"x", L"y"}),
        L" --launcher.suppressErrors -product \"x\" \"y\" -data \"D:/w\" -configuration \"D:/w/.config\""
        L" -application \"ia\" -plugincustomization \"C:/c.ini\" -personality \"ip\"");
    EXPECT_EQ(
        platform({L"prog", L"-personality", L"p", L"-plugincustomization", L"q", L"-application", L"r"}),
        L" --launcher.suppressErrors -personality \"p\" -plugincustomization \"q\" -application \"r\""
        L" -data \"D:/w\" -configuration \"D:/w/.config\" -product \"lp\"");
}

TEST_F(PlatformArguments, TheProductOfTheLauncherPropertiesComesFirst) {
    set(install, L"product", L"ip");
    EXPECT_EQ(platform({L"prog"}), L" --launcher.suppressErrors" + tail + L" -product \"ip\"");
    set(launcher, L"product", L"lp");
    EXPECT_EQ(platform({L"prog"}), L" --launcher.suppressErrors" + tail + L" -product \"lp\"");
}

TEST_F(PlatformArguments, AnOptionAtTheEndHasNoValueAndNoDefault) {
    set(install, L"application", L"ia");
    EXPECT_EQ(platform({L"prog", L"-application"}), L" --launcher.suppressErrors -application" + tail);
}

TEST_F(PlatformArguments, AnOptionTakesTheBoundaryForItsValue) {
    EXPECT_EQ(platform({L"prog", L"-product", L"-vmargs", L"b"}),
              L" --launcher.suppressErrors -product \"-vmargs\"" + tail);
}

TEST_F(PlatformArguments, TheCustomizationIsTestedWithBackslashesAndPassedAsItStands) {
    EXPECT_EQ(platform({L"prog"}), L" --launcher.suppressErrors" + tail);
    EXPECT_TRUE(askedFor(L"C:\\c.ini"));
    EXPECT_FALSE(askedFor(L"C:/c.ini"));
}

TEST_F(PlatformArguments, NothingBehindVmargsPasses) {
    EXPECT_EQ(platform({L"prog", L"-vmargs", L"-Xa"}), L" --launcher.suppressErrors" + tail);
    EXPECT_EQ(platform({L"prog", L"a", L"-vmargs", L"b"}), L" --launcher.suppressErrors \"a\"" + tail);
    EXPECT_EQ(platform({L"prog", L"-configuration", L"-vmargs", L"b"}), L" --launcher.suppressErrors" + tail);
    EXPECT_EQ(platform({L"prog", L"-product", L"x", L"-vmargs", L"b"}),
              L" --launcher.suppressErrors -product \"x\"" + tail);
}

TEST_F(PlatformArguments, AnOptionBehindVmargsStillCounts) {
    set(install, L"application", L"ia");
    EXPECT_EQ(platform({L"prog", L"-vmargs", L"-application", L"x"}), L" --launcher.suppressErrors" + tail);
    unset(install, L"application");
    EXPECT_EQ(platform({L"prog", L"-vmargs", L"-debug"}), tail);
}

TEST_F(PlatformArguments, DirectJavaStartsHaveNoSplash) {
    kind = InstallConfigurationKind::service;
    EXPECT_TRUE(platform({L"prog"}).starts_with(L" -nosplash --launcher.suppressErrors -data"));
    kind = InstallConfigurationKind::multiuserService;
    EXPECT_TRUE(platform({L"prog"}).starts_with(L" -nosplash"));
}

TEST_F(PlatformArguments, NeedAnIdentityAndACustomization) {
    unset(install, L"zel.install.id");
    platform({L"prog"});
    expectFatal("ZLNCH0005E: Couldn't find the zel.install.id property!");
    set(install, L"zel.install.id", L"1");
    set(install, L"plugincustomization", L"C:/gone.ini");
    platform({L"prog"});
    expectFatal("ZLNCH0050E:  plugin_customization.ini is missing from C:/gone.ini");
    unset(install, L"plugincustomization");
    platform({L"prog"});
    expectFatal("ZLNCH0050E:  plugin_customization.ini is missing from ");
}

TEST_F(PlatformArguments, TheStartupJar) {
    set(install, L"zel.base.location", L"C:\\b");
    EXPECT_EQ(startup({L"prog"}), L" -startup \"C:\\b/launcher.jar\"");
    EXPECT_EQ(startup({L"prog", L"-perfJar", L"x.jar"}), L" -startup \"x.jar\"");
    EXPECT_EQ(startup({L"prog", L"-perfJar"}), L" -startup \"C:\\b/launcher.jar\"");
    unset(install, L"zel.base.location");
    EXPECT_EQ(startup({L"prog"}), L" -startup \"/launcher.jar\"");
}

TEST_F(PlatformArguments, TheUsersJvmArgumentsFollowVmargs) {
    EXPECT_EQ(vmArguments({L"prog", L"a", L"-vmargs", L"-Xa", L"-vm", L"v", L"-vmargs", L"b c"}),
              L" -vmargs \"-Xa\" \"-vmargs\" \"b c\"");
    EXPECT_EQ(vmArguments({L"prog", L"-vmargs", L"-vm"}), L" -vmargs");
    EXPECT_EQ(vmArguments({L"prog", L"a"}), L" -vmargs");
    EXPECT_EQ(vmArguments({L"-vmargs", L"a"}), L" -vmargs");
    kind = InstallConfigurationKind::service;
    EXPECT_EQ(vmArguments({L"prog", L"-vmargs", L"-Xa"}), L" \"-Xa\"");
}

TEST_F(PlatformArguments, TheFixForAMissingConsole) {
    set(install, L"vmfix.noconsole.a", L"-Dv=${workspace.location}/x;${workspace.location}");
    set(install, L"vmfix.noconsole.b", L"never");
    const std::wstring fix = L" \"-Dv=C:\\data\\x;${workspace.location}\"";
    EXPECT_EQ(vmArguments({L"prog"}), L" -vmargs" + fix);
    EXPECT_EQ(vmArguments({L"prog", L"-console"}), L" -vmargs");
    EXPECT_EQ(vmArguments({L"prog", L"-consoleLog"}), L" -vmargs" + fix);
    EXPECT_EQ(vmArguments({L"prog", L"-console", L"-restart"}), L" -vmargs" + fix);
    EXPECT_EQ(vmArguments({L"prog"}, true), L" -vmargs");
    install = {{L"vmfix.noconsole", L""}};
    EXPECT_EQ(vmArguments({L"prog"}), L" -vmargs \"\"");
    install = {{L"", L""}, {L"vmfix.noconsole", L"hidden"}};
    EXPECT_EQ(vmArguments({L"prog"}), L" -vmargs");
}

TEST_F(PlatformArguments, OverridesStandInTheOrderOfTheirKeys) {
    overrides = {{L"vmarg.b", L"-Xb"}, {L"vmarg.a", L"-Xa 1"}, {L"vmarg.e", L""}};
    EXPECT_EQ(vmArguments({L"prog", L"-vmargs", L"-Xu"}), L" -vmargs \"-Xu\" \"-Xa 1\" \"-Xb\"");
}

}  // namespace
