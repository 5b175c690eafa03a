#include "javalaunch/platform_arguments.h"

#include "unit/javalaunch/command_fixture.h"

namespace {

using zellauncher::Arguments;
using zellauncher::InstallConfigurationKind;

class PlatformArguments : public javalaunchtest::CommandTest {
protected:
    bool vmIsLibrary = false;
    // What begins and ends the platform's arguments unless a test changes it.
    const std::wstring head = L" --launcher.suppressErrors";
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
    const std::wstring& pass(const Arguments& commandLine) {
        return write([&] { zellauncher::appendPlatformArguments(install, launcher, commandLine, home); });
    }
    const std::wstring& startup(const Arguments& commandLine) {
        return write([&] { zellauncher::appendStartupArgument(install, commandLine); });
    }
    const std::wstring& vmArguments(const Arguments& commandLine) {
        return write([&] {
            zellauncher::appendVmArguments(L"C:/data", install, commandLine, vmIsLibrary, overrides);
        });
    }
};

TEST_F(PlatformArguments, CommandBeginsWithTheNativeLauncher) {
    set(install, L"zel.base.location", L"C:/b");
    machine.writeFile(L"C:\\b\\win32\\x86_64\\eclipse.exe", "");
    EXPECT_EQ(program(), L"\"C:/b\\win32\\x86_64\\eclipse.exe\"");
    isMain = false;
    EXPECT_EQ(program(), L"C:/b\\win32\\x86_64\\eclipse.exe");
    set(launcher, L"eclipse.name", L"own.exe");
    program();
    outcome.expectFatal("ZLNCH0007E: C:/b\\win32\\x86_64\\own.exe is not executable or does not exist.");
    machine.writeFile(L"C:\\b\\win32\\x86_64\\own.txt", "");
    set(launcher, L"eclipse.name", L"own.txt");
    program();
    outcome.expectFatal("ZLNCH0007E: C:/b\\win32\\x86_64\\own.txt is not executable or does not exist.");
    unset(install, L"zel.base.location");
    program();
    outcome.expectFatal(
        "ZLNCH0011E: Unable to determine ZEL Base Plugin location. If the problem persists, reinstall.");
}

TEST_F(PlatformArguments, EmptyCommandLineGivesTheDefaults) {
    EXPECT_EQ(pass({L"prog"}), head + tail);
    EXPECT_EQ(pass({}), head + tail);
}

TEST_F(PlatformArguments, DebugOptionKeepsErrorsVisible) {
    EXPECT_EQ(pass({L"prog", L"-debug"}), L" \"-debug\"" + tail);
}

TEST_F(PlatformArguments, OrdinaryArgumentsAreQuoted) {
    EXPECT_EQ(pass({L"prog", L"a b", L"", L"-console", L"-perfJar", L"x.jar"}),
              head + L" \"a b\" \"\" \"-console\" \"-perfJar\" \"x.jar\"" + tail);
}

TEST_F(PlatformArguments, LauncherOptionsAreDropped) {
    EXPECT_EQ(pass({L"prog", L"-data", L"E:/w", L"-configuration", L"c", L"-vm", L"v", L"-restart",
                    L"-zel_old_pid", L"7", L"-resetconfig", L"x"}),
              L" --launcher.suppressErrors \"x\" -data \"E:/w\" -configuration \"E:/w/.config\""
              L" -plugincustomization \"C:/c.ini\"");
}

TEST_F(PlatformArguments, ProgramArgumentIsNoOption) {
    EXPECT_EQ(pass({L"-debug", L"-restart"}), head + tail);
    EXPECT_EQ(pass({L"-application", L"x"}), head + L" \"x\"" + tail);
}

TEST_F(PlatformArguments, OptionsThatThePlatformReadsTooPass) {
    EXPECT_EQ(pass({L"prog", L"-consoleLog", L"-zelLauncherWait", L"-provManifest"}),
              head + L" \"-consoleLog\" \"-zelLauncherWait\" \"-provManifest\"" + tail);
}

TEST_F(PlatformArguments, DaemonWritesNoQuotes) {
    isMain = false;
    EXPECT_EQ(pass({L"prog", L"a b", L"-product", L"x"}),
              L"\n--launcher.suppressErrors\na b\n-product\nx\n-data\nD:/w\n-configuration\nD:/w/.config"
              L"\n-plugincustomization\nC:/c.ini");
}

TEST_F(PlatformArguments, RepeatedOptionIsAnOrdinaryArgument) {
    EXPECT_EQ(pass({L"prog", L"-configuration", L"a", L"-configuration", L"b"}),
              head + L" \"-configuration\" \"b\"" + tail);
}

TEST_F(PlatformArguments, UsersChoicesKeepTheirPlace) {
    set(install, L"application", L"ia");
    set(install, L"personality", L"ip");
    set(launcher, L"product", L"lp");
    set(install, L"product", L"never");
    EXPECT_EQ(
        pass({L"prog", L"-product", L"x", L"y"}),
        L" --launcher.suppressErrors -product \"x\" \"y\" -data \"D:/w\" -configuration \"D:/w/.config\""
        L" -application \"ia\" -plugincustomization \"C:/c.ini\" -personality \"ip\"");
    EXPECT_EQ(pass({L"prog", L"-personality", L"p", L"-plugincustomization", L"q", L"-application", L"r"}),
              L" --launcher.suppressErrors -personality \"p\" -plugincustomization \"q\" -application \"r\""
              L" -data \"D:/w\" -configuration \"D:/w/.config\" -product \"lp\"");
}

TEST_F(PlatformArguments, LauncherListsProductBeatsTheInstallLists) {
    set(install, L"product", L"ip");
    EXPECT_EQ(pass({L"prog"}), head + tail + L" -product \"ip\"");
    set(launcher, L"product", L"lp");
    EXPECT_EQ(pass({L"prog"}), head + tail + L" -product \"lp\"");
}

TEST_F(PlatformArguments, OptionWithoutAValueSuppressesItsDefault) {
    set(install, L"application", L"ia");
    EXPECT_EQ(pass({L"prog", L"-application"}), head + L" -application" + tail);
}

TEST_F(PlatformArguments, VmargsIsTakenAsTheValueOfAnOption) {
    EXPECT_EQ(pass({L"prog", L"-product", L"-vmargs", L"b"}), head + L" -product \"-vmargs\"" + tail);
}

TEST_F(PlatformArguments, CustomizationIsCheckedWithBackslashesAndPassedUnchanged) {
    EXPECT_EQ(pass({L"prog"}), head + tail);
    EXPECT_TRUE(hasOperationWith(L"C:\\c.ini"));
    EXPECT_FALSE(hasOperationWith(L"C:/c.ini"));
}

TEST_F(PlatformArguments, ArgumentsAfterVmargsDoNotPass) {
    EXPECT_EQ(pass({L"prog", L"-vmargs", L"-Xa"}), head + tail);
    EXPECT_EQ(pass({L"prog", L"a", L"-vmargs", L"b"}), head + L" \"a\"" + tail);
    EXPECT_EQ(pass({L"prog", L"-configuration", L"-vmargs", L"b"}), head + tail);
    EXPECT_EQ(pass({L"prog", L"-product", L"x", L"-vmargs", L"b"}), head + L" -product \"x\"" + tail);
}

TEST_F(PlatformArguments, OptionAfterVmargsStillSuppressesItsDefault) {
    set(install, L"application", L"ia");
    EXPECT_EQ(pass({L"prog", L"-vmargs", L"-application", L"x"}), head + tail);
    unset(install, L"application");
    EXPECT_EQ(pass({L"prog", L"-vmargs", L"-debug"}), tail);
}

TEST_F(PlatformArguments, DirectJavaStartHasNoSplash) {
    kind = InstallConfigurationKind::service;
    EXPECT_TRUE(pass({L"prog"}).starts_with(L" -nosplash --launcher.suppressErrors -data"));
    kind = InstallConfigurationKind::multiuserService;
    EXPECT_TRUE(pass({L"prog"}).starts_with(L" -nosplash"));
}

TEST_F(PlatformArguments, MissingInstallIdOrCustomizationIsFatal) {
    unset(install, L"zel.install.id");
    pass({L"prog"});
    outcome.expectFatal("ZLNCH0005E: Couldn't find the zel.install.id property!");
    set(install, L"zel.install.id", L"1");
    set(install, L"plugincustomization", L"C:/gone.ini");
    pass({L"prog"});
    outcome.expectFatal("ZLNCH0050E:  plugin_customization.ini is missing from C:/gone.ini");
    unset(install, L"plugincustomization");
    pass({L"prog"});
    outcome.expectFatal("ZLNCH0050E:  plugin_customization.ini is missing from ");
}

TEST_F(PlatformArguments, StartupJarIsTheBasesOrThePerfJar) {
    set(install, L"zel.base.location", L"C:\\b");
    EXPECT_EQ(startup({L"prog"}), L" -startup \"C:\\b/launcher.jar\"");
    EXPECT_EQ(startup({L"prog", L"-perfJar", L"x.jar"}), L" -startup \"x.jar\"");
    EXPECT_EQ(startup({L"prog", L"-perfJar"}), L" -startup \"C:\\b/launcher.jar\"");
    unset(install, L"zel.base.location");
    EXPECT_EQ(startup({L"prog"}), L" -startup \"/launcher.jar\"");
}

TEST_F(PlatformArguments, UsersJvmArgumentsFollowVmargs) {
    EXPECT_EQ(vmArguments({L"prog", L"a", L"-vmargs", L"-Xa", L"-vm", L"v", L"-vmargs", L"b c"}),
              L" -vmargs \"-Xa\" \"-vmargs\" \"b c\"");
    EXPECT_EQ(vmArguments({L"prog", L"-vmargs", L"-vm"}), L" -vmargs");
    EXPECT_EQ(vmArguments({L"prog", L"a"}), L" -vmargs");
    EXPECT_EQ(vmArguments({L"-vmargs", L"a"}), L" -vmargs");
    kind = InstallConfigurationKind::service;
    EXPECT_EQ(vmArguments({L"prog", L"-vmargs", L"-Xa"}), L" \"-Xa\"");
}

TEST_F(PlatformArguments, NoConsoleFixIsAddedWithoutAConsole) {
    set(install, L"vmfix.noconsole.a", L"-Dv=${workspace.location}/x;${workspace.location}");
    set(install, L"vmfix.noconsole.b", L"never");
    const std::wstring fix = L" \"-Dv=C:\\data\\x;${workspace.location}\"";
    EXPECT_EQ(vmArguments({L"prog"}), L" -vmargs" + fix);
    EXPECT_EQ(vmArguments({L"prog", L"-console"}), L" -vmargs");
    EXPECT_EQ(vmArguments({L"prog", L"-consoleLog"}), L" -vmargs" + fix);
    EXPECT_EQ(vmArguments({L"prog", L"-console", L"-restart"}), L" -vmargs" + fix);
    vmIsLibrary = true;
    EXPECT_EQ(vmArguments({L"prog"}), L" -vmargs");
    vmIsLibrary = false;
    install = {{L"vmfix.noconsole", L""}};
    EXPECT_EQ(vmArguments({L"prog"}), L" -vmargs \"\"");
    install = {{L"", L""}, {L"vmfix.noconsole", L"hidden"}};
    EXPECT_EQ(vmArguments({L"prog"}), L" -vmargs");
}

TEST_F(PlatformArguments, OverridesAreSortedByKey) {
    overrides = {{L"vmarg.b", L"-Xb"}, {L"vmarg.a", L"-Xa 1"}, {L"vmarg.e", L""}};
    EXPECT_EQ(vmArguments({L"prog", L"-vmargs", L"-Xu"}), L" -vmargs \"-Xu\" \"-Xa 1\" \"-Xb\"");
}

}  // namespace
