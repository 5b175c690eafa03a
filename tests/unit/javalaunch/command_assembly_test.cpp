#include "javalaunch/command_assembly.h"

#include <optional>

#include "instance/lock_owner.h"
#include "platform/environment.h"
#include "platform/files.h"
#include "support/worked_example.h"
#include "unit/javalaunch/command_fixture.h"

namespace {

using launchertest::asCommandLine;
using launchertest::exampleElements;
using zellauncher::CommandPurpose;
using zellauncher::InstallConfigurationKind;

constexpr std::int32_t ownerPid = 4711;

// The worked example, which a test changes before it assembles the command.
class CommandAssembly : public javalaunchtest::CommandTest {
protected:
    bool isPipeFileStale = false;
    std::optional<std::wstring> path;  // PATH after the assembly

    CommandAssembly() {
        launchertest::layOutExample(machine);
        home = launchertest::exampleHome;
        install = launchertest::exampleInstallProperties();
        launcher = launchertest::exampleLauncherProperties();
        overrides = launchertest::exampleOverrides();
    }
    const std::wstring& assemble(CommandPurpose purpose = CommandPurpose::platform) {
        const std::wstring workspace = launchertest::exampleWorkspace;
        return write([&] {
            zellauncher::lockOwnerPid = ownerPid;
            zellauncher::staleEndpointFile = isPipeFileStale;
            zellauncher::resetLaunchCommand();
            zellauncher::assembleCommand({workspace, home, arguments, install, launcher, overrides}, purpose);
            path = platform::environmentValue(L"PATH");
        });
    }
    bool commandHas(const std::wstring& text) const { return command.find(text) != std::wstring::npos; }
};

TEST_F(CommandAssembly, WorkedExampleIsExact) {
    ASSERT_EQ(exampleElements().size(), 28U);
    EXPECT_EQ(assemble(), asCommandLine(exampleElements()));
    EXPECT_EQ(path, L"C:/Apps/Client/bin");
    EXPECT_EQ(outcome.log, "");
}

TEST_F(CommandAssembly, DaemonWritesTheOwnerPairAndNoQuotes) {
    isMain = false;
    EXPECT_EQ(assemble(), launchertest::asHandOff(exampleElements(), ownerPid));
    EXPECT_TRUE(commandHas(L"\n-vm\nC:/Apps/Client/jvm/bin/javaw.exe\n-useDaemon\n4711\n-startup\n"));
    EXPECT_FALSE(commandHas(L"\""));
}

TEST_F(CommandAssembly, UsersArgumentsGoToPlatformOrJvm) {
    arguments = {L"prog", L"-personality", L"p", L"a b", L"-restart", L"-vmargs", L"-Xa"};
    assemble();
    EXPECT_TRUE(commandHas(L" --launcher.suppressErrors -personality \"p\" \"a b\" -data "));
    EXPECT_TRUE(commandHas(L" -vmargs \"-Xa\" \"-Dvmfix="));
}

TEST_F(CommandAssembly, OtherKindsStartTheNativeLauncher) {
    for (const auto each : {InstallConfigurationKind::lockdown, InstallConfigurationKind::user,
                            InstallConfigurationKind::serialMultiuser, InstallConfigurationKind::multiuser,
                            InstallConfigurationKind::userpb}) {
        kind = each;
        EXPECT_TRUE(assemble().starts_with(exampleElements().front() + L" --launcher.suppressErrors -data "));
        EXPECT_TRUE(commandHas(L" -startup \""));
        EXPECT_FALSE(commandHas(L"org.eclipse.core.launcher.Main"));
    }
}

TEST_F(CommandAssembly, UnknownKindIsFatal) {
    kind = InstallConfigurationKind::unknown;
    assemble();
    outcome.expectFatal("ZLNCH0025E: The platform zel.install.id must be provided for this configuration!");
}

TEST_F(CommandAssembly, OnlyAMainProcessRecordsItsStart) {
    const std::wstring record = L"C:\\Users\\ann\\Mivel\\ZEL\\1234\\ann\\logs\\shutdown.log";
    isMain = false;
    assemble();
    EXPECT_FALSE(machine.exists(record));
    isMain = true;
    assemble();
    EXPECT_TRUE(machine.exists(record));
}

TEST_F(CommandAssembly, ClassCacheIsDeletedAfterAnUncleanEnd) {
    const std::wstring cacheFile = L"C:\\Users\\ann\\Mivel\\ZEL\\1234\\ann\\cache\\x_app";
    machine.writeFile(cacheFile, "");
    // The token is replaced before the cache maintenance, which otherwise would not find the cache.
    overrides = {{L"vmarg.CacheMaintenance.enable", L""},
                 {L"vmarg.Dshare", L"-Xshareclasses:name=app,controlDir=${workspace.location}/cache"}};
    assemble();
    EXPECT_TRUE(machine.exists(cacheFile));
    isPipeFileStale = true;
    isMain = false;
    assemble();
    EXPECT_TRUE(machine.exists(cacheFile));
    isMain = true;
    assemble();
    EXPECT_FALSE(machine.exists(cacheFile));
}

// A direct Java start, whose directories are in the install.
class DirectJavaStart : public CommandAssembly {
protected:
    DirectJavaStart() {
        kind = InstallConfigurationKind::service;
        set(install, L"cp", L"x.jar");
        arguments = {L"prog", L"x", L"-data", L"D:/never"};
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
                L"\"x\"",
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

TEST_F(DirectJavaStart, JvmSideComesFirst) {
    EXPECT_EQ(assemble(), asCommandLine(expected()));
    EXPECT_EQ(path, L"C:/Apps/Client/bin");
}

TEST_F(DirectJavaStart, DaemonWritesNoOwnerPair) {
    isMain = false;
    EXPECT_EQ(assemble(), launchertest::withoutQuotes(expected(), L'\n'));
}

TEST_F(DirectJavaStart, MultiuserServiceHasTheStartupJarAsClassPath) {
    kind = InstallConfigurationKind::multiuserService;
    assemble();
    EXPECT_TRUE(commandHas(
        L" -cp \"C:/Apps/Client/zel/eclipse/plugins/base_1.0/startup.jar\" "
        L"\"org.eclipse.core.launcher.Main\" "
        L"-nosplash --launcher.suppressErrors \"x\" -data \"C:\\Apps\\Client\\eclipse\\.muservice\" "
        L"-configuration \"C:\\Apps\\Client\\eclipse\\.muservice\\.config\" "));
}

TEST_F(DirectJavaStart, MissingVmLeavesTheCommandWithoutAProgram) {
    unset(install, L"vm");
    EXPECT_TRUE(assemble().starts_with(std::wstring(1, L'\0') + L" \"-Dvmfix="));
}

TEST_F(DirectJavaStart, EnvironmentIsSetLast) {
    set(install, L"env.set.PATH", L"mine");
    assemble();
    EXPECT_EQ(path, L"mine");
}

TEST_F(CommandAssembly, ProvisioningApplicationFollowsTheUsualOne) {
    set(launcher, L"provisioning.application", L"com.example.prov");
    std::vector<std::wstring> elements = exampleElements();
    elements.insert(elements.begin() + 12, {L"-application", L"com.example.prov", L"-userProvLaunch"});
    EXPECT_EQ(assemble(CommandPurpose::userProvisioning), asCommandLine(elements));
}

TEST_F(CommandAssembly, PlainProvisioningHasNoUserFlag) {
    set(launcher, L"provisioning.application", L"com.example.prov");
    std::vector<std::wstring> elements = exampleElements();
    elements.insert(elements.begin() + 12, {L"-application", L"com.example.prov"});
    EXPECT_EQ(assemble(CommandPurpose::provisioning), asCommandLine(elements));
}

TEST_F(CommandAssembly, ProvisioningNeverUsesTheDirectJavaOrder) {
    // The VM replaces the native launcher as the program; the sections after it stay.
    kind = InstallConfigurationKind::service;
    EXPECT_TRUE(assemble(CommandPurpose::userProvisioning)
                    .starts_with(L"\"C:/Apps/Client/jvm/bin/javaw.exe\" -startup "));
    EXPECT_FALSE(commandHas(L"org.eclipse.core.launcher.Main"));
}

TEST_F(CommandAssembly, ProvisioningNeedsNoApplication) {
    EXPECT_EQ(assemble(CommandPurpose::provisioning), asCommandLine(exampleElements()));
}

TEST_F(CommandAssembly, PlatformStartHasNoProvisioningArguments) {
    set(launcher, L"provisioning.application", L"com.example.prov");
    EXPECT_EQ(assemble(CommandPurpose::platform), asCommandLine(exampleElements()));
}

TEST_F(CommandAssembly, LibraryVmHasNoNoConsoleFix) {
    set(install, L"vm", L"C:/Apps/Client/jvm/default.ee");
    assemble();
    EXPECT_TRUE(commandHas(L" -vm \"C:/Apps/Client/jvm/default.ee\" "));
    EXPECT_TRUE(commandHas(L" -vmargs \"-Xss256k\" "));
    unset(install, L"-Djava.library.path");
    assemble(CommandPurpose::provisioning);
    EXPECT_TRUE(commandHas(L" -vmargs \"-Xss256k\" "));
    kind = InstallConfigurationKind::service;
    EXPECT_TRUE(assemble().starts_with(L"\"C:/Apps/Client/jvm/default.ee\" \"-Xss256k\" "));
}

TEST_F(CommandAssembly, TokensAreReplacedInArgumentsAndOverrides) {
    arguments = {L"prog", L"${zel.home}/a", L"${prop.java.home}"};
    overrides = {{L"vmarg.a", L"-Da=${prop.java.home}"}};
    assemble();
    EXPECT_TRUE(commandHas(L" \"C:/Apps/Client/a\" \"${prop.java.home}\" -data"));
    EXPECT_TRUE(commandHas(L" \"-Da=C:/Apps/Client\" "));
    EXPECT_EQ(arguments.at(1), L"C:/Apps/Client/a");
}

TEST_F(CommandAssembly, TokenInTheVmPropertyIsReplaced) {
    set(install, L"vm", L"${zel.home}/jvm/bin/javaw.exe");
    EXPECT_EQ(assemble(), asCommandLine(exampleElements()));
}

TEST_F(CommandAssembly, TokenWithoutAValueIsFatal) {
    set(install, L"x", L"${prop.never}");
    assemble();
    outcome.expectFatal("ZLNCH0088E: property substitution is invalid (${prop.never})");
    unset(install, L"x");
    overrides = {{L"vmarg.a", L"-Da=${prop.never}"}};
    assemble();
    outcome.expectFatal("ZLNCH0088E: property substitution is invalid (-Da=${prop.never})");
}

TEST_F(CommandAssembly, EnvironmentIsSetLast) {
    // Read before the library path changed PATH, written afterwards.
    set(install, L"env.set.PATH", L"${env.PATH}");
    // The platform inherits this, but the directories of this start stay.
    set(install, L"env.set.HOMEPATH", L"/elsewhere");
    EXPECT_EQ(assemble(), asCommandLine(exampleElements()));
    EXPECT_EQ(path, L"C:\\Windows\\System32");
    unset(install, L"-Djava.library.path");
    set(install, L"env.set.PATH", L"mine");
    EXPECT_EQ(assemble(CommandPurpose::provisioning), asCommandLine(exampleElements()));
    EXPECT_EQ(path, L"mine");
}

// clearSharedClasses has its own tests; these are about its call.
class SharedClasses : public CommandAssembly {
protected:
    SharedClasses() {
        set(install, L"jvm.shareclasses.fullpath", L"C:/cache/classes");
        set(launcher, L"provisioning.manifest.version", L"2");
        machine.writeFile(L"C:\\cache\\classes\\sub\\file", "");
    }
    bool areCleared() const { return machine.tree(L"C:\\cache\\classes").empty(); }
};

TEST_F(SharedClasses, NewManifestClearsThem) {
    assemble();
    EXPECT_TRUE(areCleared());
    EXPECT_TRUE(machine.isDirectory(L"C:\\cache\\classes"));
    EXPECT_TRUE(hasOperationWith(L"C:\\cache\\classes"));
    EXPECT_EQ(outcome.log.find("ZLNCH0086I"), std::string::npos);
}

TEST_F(SharedClasses, KnownManifestLeavesThem) {
    set(install, L"provisioning.manifest.version", L"2");
    assemble();
    EXPECT_FALSE(areCleared());
}

TEST_F(SharedClasses, DaemonClearsThemToo) {
    isMain = false;
    assemble();
    EXPECT_TRUE(areCleared());
}

TEST_F(SharedClasses, FailureToClearDoesNotStopTheStart) {
    machine.setAttributes(L"C:\\cache\\classes\\sub\\file", platform::attributeReadOnly);
    assemble();
    EXPECT_EQ(outcome.processEnd().status, 0U);
    EXPECT_FALSE(command.empty());
}

}  // namespace
