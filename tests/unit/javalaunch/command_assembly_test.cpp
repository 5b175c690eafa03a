#include "javalaunch/command_assembly.h"

#include "platform/environment.h"
#include "support/worked_example.h"
#include "unit/javalaunch/command_fixture.h"

namespace {

using launchertest::asCommandLine;
using launchertest::exampleElements;
using zellauncher::InstallConfigurationKind;

constexpr std::int32_t ownerPid = 4711;
constexpr const wchar_t* emptyCommand = L"(nothing written)";

// The example start, and what a test changes of it.
class CommandAssembly : public javalaunchtest::CommandTest {
protected:
    std::optional<std::wstring> path;  // PATH behind the assembly

    CommandAssembly() {
        launchertest::layOutExample(machine);
        home = launchertest::exampleHome;
        install = launchertest::exampleInstallProperties();
        launcher = launchertest::exampleLauncherProperties();
        overrides = launchertest::exampleOverrides();
    }
    const std::wstring& assemble(bool provisioning = false, bool userProvisioning = false) {
        return write([&] {
            zellauncher::lockOwnerPid = ownerPid;
            zellauncher::staleEndpointFile = isEndpointStale;
            zellauncher::launchCommand = emptyCommand;
            zellauncher::assembleCommand(launchertest::exampleWorkspace, arguments, home, install, launcher,
                                         overrides, provisioning, userProvisioning);
            path = platform::environmentValue(L"PATH");
        });
    }
    bool commandHas(const std::wstring& text) const { return command.find(text) != std::wstring::npos; }
    bool isEndpointStale = false;
};

TEST_F(CommandAssembly, AWholeStartComesOutToTheLetter) {
    ASSERT_EQ(exampleElements().size(), 28U);
    EXPECT_EQ(assemble(), asCommandLine(exampleElements()));
    EXPECT_EQ(path, L"C:/Apps/Client/bin");
    EXPECT_EQ(outcome.log, "");
}

TEST_F(CommandAssembly, ADaemonsListHasNoQuotesAndTheOwnersNumber) {
    isMain = false;
    EXPECT_EQ(assemble(), launchertest::asHandOff(exampleElements(), ownerPid));
    EXPECT_TRUE(commandHas(L"\n-vm\nC:/Apps/Client/jvm/bin/javaw.exe\n-useDaemon\n4711\n-startup\n"));
    EXPECT_FALSE(commandHas(L"\""));
}

TEST_F(CommandAssembly, TheWordsOfTheUserStandOnTheirSides) {
    arguments = {L"prog", L"-personality", L"p", L"a b", L"-restart", L"-vmargs", L"-Xa"};
    assemble();
    EXPECT_TRUE(commandHas(L" --launcher.suppressErrors -personality \"p\" \"a b\" -data "));
    EXPECT_TRUE(commandHas(L" -vmargs \"-Xa\" \"-Dvmfix="));
}

TEST_F(CommandAssembly, EveryKindButTheDirectOnesStartsTheNativeLauncher) {
    for (const auto each : {InstallConfigurationKind::lockdown, InstallConfigurationKind::user,
                            InstallConfigurationKind::serialMultiuser, InstallConfigurationKind::multiuser,
                            InstallConfigurationKind::userpb}) {
        kind = each;
        EXPECT_TRUE(assemble().starts_with(exampleElements().front() + L" --launcher.suppressErrors -data "));
        EXPECT_TRUE(commandHas(L" -startup \""));
        EXPECT_FALSE(commandHas(L"org.eclipse.core.launcher.Main"));
    }
}

TEST_F(CommandAssembly, AnUnknownKindIsRefusedAtItsWord) {
    kind = InstallConfigurationKind::unknown;
    assemble();
    expectFatal("ZLNCH0025E: The platform zel.install.id must be provided for this configuration!");
}

TEST_F(CommandAssembly, AMainProcessAloneRecordsItsStart) {
    const std::wstring record = L"C:\\Users\\ann\\Mivel\\ZEL\\1234\\ann\\logs\\shutdown.log";
    isMain = false;
    assemble();
    EXPECT_FALSE(machine.exists(record));
    isMain = true;
    assemble();
    EXPECT_TRUE(machine.exists(record));
}

TEST_F(CommandAssembly, TheClassCacheIsPurgedBehindAnUncleanEnd) {
    const std::wstring cacheFile = L"C:\\Users\\ann\\Mivel\\ZEL\\1234\\ann\\cache\\x_app";
    machine.writeFile(cacheFile, "");
    // The token shows that the overrides are substituted before the cache is looked at.
    overrides = {{L"vmarg.CacheMaintenance.enable", L""},
                 {L"vmarg.Dshare", L"-Xshareclasses:name=app,controlDir=${workspace.location}/cache"}};
    assemble();
    EXPECT_TRUE(machine.exists(cacheFile));
    isEndpointStale = true;
    isMain = false;
    assemble();
    EXPECT_TRUE(machine.exists(cacheFile));
    isMain = true;
    assemble();
    EXPECT_FALSE(machine.exists(cacheFile));
}

// A direct start of Java, whose directories lie in the installation.
class DirectJavaStart : public CommandAssembly {
protected:
    DirectJavaStart() {
        kind = InstallConfigurationKind::service;
        set(install, L"cp", L"x.jar");
        arguments = {L"prog", L"word", L"-data", L"D:/never"};
    }
    static std::vector<std::wstring> expected() {
        return {L"\"C:/Apps/Client/jvm/bin/javaw.exe\"",
                L"\"-Dvmfix=C:\\Users\\ann\\Mivel\\ZEL\\1234\\ann\\log\"",
                L"\"-Xss256k\"",
                L"-Dzel.home=\"C:\\Apps\\Client\"",
                L"-Dzel.data=\"C:\\Apps\\Client\\eclipse\\.workspace\"",
                L"-Dosgi.splashPath=\"file:/C:/Apps/Client/splash\"",
                L"-Dcom.mivel.zel.install.id=\"1234\"",
                L"-Dzel.install.config=\"service\"",
                L"-Dfoo=\"bar\"",
                L"-Djava.library.path=\"C:/Apps/Client/jvm/bin;C:/Apps/Client/bin\"",
                L"-Dzel.osgi.install.area=\"C:\\Apps\\Client\\zel\\eclipse\"",
                L"\"-Xmx512m\"",
                L"-cp",
                L"\"x.jar\"",
                L"\"org.eclipse.core.launcher.Main\"",
                L"-nosplash",
                L"--launcher.suppressErrors",
                L"\"word\"",
                L"-data",
                L"\"C:\\Apps\\Client\\eclipse\\.workspace\"",
                L"-configuration",
                L"\"C:\\Apps\\Client\\eclipse\\.config\"",
                L"-application",
                L"\"com.example.app\"",
                L"-plugincustomization",
                L"\"C:/Apps/Client/custom.ini\"",
                L"-product",
                L"\"com.example.product\""};
    }
};

TEST_F(DirectJavaStart, HasTheJvmFirstAndThenThePlatform) {
    EXPECT_EQ(assemble(), asCommandLine(expected()));
    EXPECT_EQ(path, L"C:/Apps/Client/bin");
}

TEST_F(DirectJavaStart, HandsOverTheSameListWithoutAPair) {
    isMain = false;
    EXPECT_EQ(assemble(), launchertest::withoutQuotes(expected(), L'\n'));
}

TEST_F(DirectJavaStart, OfSeveralUsersHasTheStartupJarAsItsClassPath) {
    kind = InstallConfigurationKind::multiuserService;
    assemble();
    EXPECT_TRUE(commandHas(
        L" -cp \"C:/Apps/Client/zel/eclipse/plugins/base_1.0/startup.jar\" "
        L"\"org.eclipse.core.launcher.Main\" "
        L"-nosplash --launcher.suppressErrors \"word\" -data \"C:\\Apps\\Client\\eclipse\\.muservice\" "
        L"-configuration \"C:\\Apps\\Client\\eclipse\\.muservice\\.config\" "));
}

TEST_F(DirectJavaStart, WithoutAVmHasNoHead) {
    unset(install, L"vm");
    EXPECT_TRUE(assemble().starts_with(std::wstring(emptyCommand) + L" \"-Dvmfix="));
}

TEST_F(DirectJavaStart, SetsTheEnvironmentLast) {
    set(install, L"env.set.PATH", L"mine");
    assemble();
    EXPECT_EQ(path, L"mine");
}

TEST_F(CommandAssembly, AProvisioningStartRunsItsApplicationBehindTheOther) {
    set(launcher, L"provisioning.application", L"com.example.prov");
    std::vector<std::wstring> elements = exampleElements();
    elements.insert(elements.begin() + 12, {L"-application", L"com.example.prov", L"-userProvLaunch"});
    EXPECT_EQ(assemble(true, true), asCommandLine(elements));
}

TEST_F(CommandAssembly, AProvisioningStartThatIsNotTheUsersSaysNothingOfIt) {
    set(launcher, L"provisioning.application", L"com.example.prov");
    std::vector<std::wstring> elements = exampleElements();
    elements.insert(elements.begin() + 12, {L"-application", L"com.example.prov"});
    EXPECT_EQ(assemble(true, false), asCommandLine(elements));
}

TEST_F(CommandAssembly, TheFlagAloneMakesAProvisioningStart) {
    // The VM of a direct Java start takes the head over; the sections behind it are those of provisioning.
    kind = InstallConfigurationKind::service;
    EXPECT_TRUE(assemble(true, true).starts_with(L"\"C:/Apps/Client/jvm/bin/javaw.exe\" -startup "));
    EXPECT_FALSE(commandHas(L"org.eclipse.core.launcher.Main"));
}

TEST_F(CommandAssembly, AProvisioningStartWithoutAnApplicationHasNoEmptyOne) {
    EXPECT_EQ(assemble(true, false), asCommandLine(exampleElements()));
}

TEST_F(CommandAssembly, ANormalStartHasNoWordsOfProvisioning) {
    set(launcher, L"provisioning.application", L"com.example.prov");
    EXPECT_EQ(assemble(false, true), asCommandLine(exampleElements()));
}

TEST_F(CommandAssembly, AVmThatIsALibraryHasNoConsoleFixInAnyOrder) {
    set(install, L"vm", L"C:/Apps/Client/jvm/default.ee");
    assemble();
    EXPECT_TRUE(commandHas(L" -vm \"C:/Apps/Client/jvm/default.ee\" "));
    EXPECT_TRUE(commandHas(L" -vmargs \"-Xss256k\" "));
    unset(install, L"-Djava.library.path");
    assemble(true);
    EXPECT_TRUE(commandHas(L" -vmargs \"-Xss256k\" "));
    kind = InstallConfigurationKind::service;
    EXPECT_TRUE(assemble().starts_with(L"\"C:/Apps/Client/jvm/default.ee\" \"-Xss256k\" "));
}

TEST_F(CommandAssembly, TokensAreReplacedInWordsAndOverrides) {
    arguments = {L"prog", L"${zel.home}/a", L"${prop.java.home}"};
    overrides = {{L"vmarg.a", L"-Da=${prop.java.home}"}};
    assemble();
    EXPECT_TRUE(commandHas(L" \"C:/Apps/Client/a\" \"${prop.java.home}\" -data"));
    EXPECT_TRUE(commandHas(L" \"-Da=C:/Apps/Client\" "));
    EXPECT_EQ(arguments.at(1), L"C:/Apps/Client/a");
}

TEST_F(CommandAssembly, TheVmOfThePropertiesIsSubstituted) {
    set(install, L"vm", L"${zel.home}/jvm/bin/javaw.exe");
    EXPECT_EQ(assemble(), asCommandLine(exampleElements()));
}

TEST_F(CommandAssembly, ATokenWithoutAValueIsFatal) {
    set(install, L"x", L"${prop.never}");
    assemble();
    expectFatal("ZLNCH0088E: property substitution is invalid (${prop.never})");
    unset(install, L"x");
    overrides = {{L"vmarg.a", L"-Da=${prop.never}"}};
    assemble();
    expectFatal("ZLNCH0088E: property substitution is invalid (-Da=${prop.never})");
}

TEST_F(CommandAssembly, TheEnvironmentIsSetLast) {
    // Read before the library path was set, written after it.
    set(install, L"env.set.PATH", L"${env.PATH}");
    // The directories still come from the home of the start, which the platform does not inherit.
    set(install, L"env.set.HOMEPATH", L"/elsewhere");
    EXPECT_EQ(assemble(), asCommandLine(exampleElements()));
    EXPECT_EQ(path, L"C:\\Windows\\System32");
    unset(install, L"-Djava.library.path");
    set(install, L"env.set.PATH", L"mine");
    EXPECT_EQ(assemble(true), asCommandLine(exampleElements()));
    EXPECT_EQ(path, L"mine");
}

class SharedClasses : public CommandAssembly {
protected:
    SharedClasses() {
        set(install, L"jvm.shareclasses.fullpath", L"C:/cache/classes");
        set(launcher, L"provisioning.manifest.version", L"2");
        machine.writeFile(L"C:\\cache\\classes\\sub\\file", "");
    }
    bool isCleared() { return machine.tree(L"C:\\cache\\classes").empty(); }
};

TEST_F(SharedClasses, AreClearedWhenTheManifestIsNew) {
    assemble();
    EXPECT_TRUE(isCleared());
    EXPECT_TRUE(machine.isDirectory(L"C:\\cache\\classes"));
    EXPECT_TRUE(askedFor(L"C:\\cache\\classes"));
    EXPECT_EQ(outcome.log.find("ZLNCH0086I"), std::string::npos);
}

TEST_F(SharedClasses, StayWhenTheManifestIsKnown) {
    set(install, L"provisioning.manifest.version", L"2");
    assemble();
    EXPECT_FALSE(isCleared());
}

TEST_F(SharedClasses, AreClearedWhenTheVersionsDiffer) {
    set(install, L"provisioning.manifest.version", L"1a");
    set(launcher, L"provisioning.manifest.version", L"1A");
    assemble();
    EXPECT_TRUE(isCleared());
}

TEST_F(SharedClasses, AreClearedWhenTheInstallationNamesNoVersion) {
    set(install, L"provisioning.manifest.version", L"2");
    unset(launcher, L"provisioning.manifest.version");
    assemble();
    EXPECT_TRUE(isCleared());
}

TEST_F(SharedClasses, AreClearedByADaemonToo) {
    isMain = false;
    assemble();
    EXPECT_TRUE(isCleared());
}

TEST_F(SharedClasses, AMissingDirectoryIsNoMatter) {
    set(install, L"jvm.shareclasses.fullpath", L"C:/gone");
    assemble();
    EXPECT_EQ(outcome.log, "");
    unset(install, L"jvm.shareclasses.fullpath");
    assemble();
    EXPECT_EQ(outcome.log, "");
}

TEST_F(SharedClasses, WhatResistsIsToldAndTheStartGoesOn) {
    machine.setAttributes(L"C:\\cache\\classes\\sub\\file", 1);
    assemble();
    EXPECT_EQ(outcome.end.status, 0U);
    EXPECT_TRUE(outcome.log.starts_with(
        "\nZLNCH0086I begin: Information collected while removing shared classes directory\n"
        "Can't delete file \\\\?\\C:\\cache\\classes\\sub\\file  -  Failed with error 5: "))
        << outcome.log;
    EXPECT_EQ(outcome.lastLine(),
              "ZLNCH0087I end: Unable to remove all files in the shared classes directory.");
    EXPECT_FALSE(command.empty());
}

}  // namespace
