#include "javalaunch/command_assembly.h"

#include "platform/environment.h"
#include "unit/javalaunch/command_fixture.h"

namespace {

using zellauncher::InstallConfigurationKind;

constexpr const wchar_t* dataDirectory = L"C:/Users/ann/Mivel/ZEL/1234/ann";

// An install as it stands in the field, with one property of each sort.
class CommandAssembly : public javalaunchtest::CommandTest {
protected:
    CommandAssembly() {
        machine.makeDirectory(L"C:\\Users\\ann\\Mivel\\ZEL\\1234\\ann\\logs");
        machine.writeFile(L"C:\\Apps\\Client\\zel\\eclipse\\plugins\\base_1.0\\win32\\x86_64\\eclipse.exe",
                          "");
        machine.writeFile(L"C:\\Apps\\Client\\custom.ini", "");
        install = {{L"zel.base.location", L"C:/Apps/Client/zel/eclipse/plugins/base_1.0"},
                   {L"zel.install.id", L"1234"},
                   {L"vm", L"C:/Apps/Client/jvm/bin/javaw.exe"},
                   {L"application", L"com.example.app"},
                   {L"plugincustomization", L"C:/Apps/Client/custom.ini"},
                   {L"-Dfoo", L"bar"},
                   {L"-Xmx", L"512m"},
                   {L"vmfix.noconsole", L"-Dvmfix=${workspace.location}/log"},
                   {L"library.path.prepend", L"C:/Apps/Client/bin"},
                   {L"jvm.library.path", L"${prop.java.home}/jvm/bin"},
                   {L"java.home", L"C:/Apps/Client"}};
        launcher = {{L"product", L"com.example.product"},
                    {L"osgi.splashPath", L"file:/C:/Apps/Client/splash"},
                    {L"zel.data", dataDirectory}};
        overrides = {{L"vmarg.Xss", L"-Xss256k"}};
    }

    const std::wstring& assemble(bool provisioning = false, bool userProvisioning = false) {
        return write([&] {
            zellauncher::lockOwnerPid = 4711;
            zellauncher::launchCommand.assign(1, L'\0');
            zellauncher::assembleCommand(dataDirectory, arguments, home, install, launcher, overrides,
                                         provisioning, userProvisioning);
            path = platform::environmentValue(L"PATH");
        });
    }
    std::optional<std::wstring> path;
};

const std::vector<std::wstring> wholeStart = {
    L"\"C:/Apps/Client/zel/eclipse/plugins/base_1.0\\win32\\x86_64\\eclipse.exe\"",
    L"--launcher.suppressErrors",
    L"-data",
    L"\"C:/Users/ann/Mivel/ZEL/1234/ann\"",
    L"-configuration",
    L"\"C:/Users/ann/Mivel/ZEL/1234/ann/.config\"",
    L"-application",
    L"\"com.example.app\"",
    L"-plugincustomization",
    L"\"C:/Apps/Client/custom.ini\"",
    L"-product",
    L"\"com.example.product\"",
    L"-vm",
    L"\"C:/Apps/Client/jvm/bin/javaw.exe\"",
    L"-startup",
    L"\"C:/Apps/Client/zel/eclipse/plugins/base_1.0/launcher.jar\"",
    L"-vmargs",
    L"\"-Dvmfix=C:\\Users\\ann\\Mivel\\ZEL\\1234\\ann\\log\"",
    L"\"-Xss256k\"",
    L"-Dzel.home=\"C:\\Apps\\Client\"",
    L"-Dzel.data=\"C:/Users/ann/Mivel/ZEL/1234/ann\"",
    L"-Dosgi.splashPath=\"file:/C:/Apps/Client/splash\"",
    L"-Dcom.mivel.zel.install.id=\"1234\"",
    L"-Dzel.install.config=\"user\"",
    L"-Dfoo=\"bar\"",
    L"-Djava.library.path=\"C:/Apps/Client/jvm/bin;C:/Apps/Client/bin\"",
    L"-Dzel.osgi.install.area=\"C:\\Apps\\Client\\zel\\eclipse\"",
    L"\"-Xmx512m\"",
};

std::wstring joined(const std::vector<std::wstring>& elements, wchar_t separator) {
    std::wstring text;
    for (const std::wstring& element : elements) {
        text += (text.empty() ? L"" : std::wstring(1, separator)) + element;
    }
    return text;
}

TEST_F(CommandAssembly, AWholeStartComesOutToTheLetter) {
    ASSERT_EQ(wholeStart.size(), 28U);
    EXPECT_EQ(assemble(), joined(wholeStart, L' '));
    EXPECT_EQ(path, L"C:/Apps/Client/bin");
    EXPECT_EQ(outcome.log, "");
}

TEST_F(CommandAssembly, ADaemonsListHasNoQuotesAndTheOwnersNumber) {
    isMain = false;
    std::vector<std::wstring> elements = wholeStart;
    elements.insert(elements.begin() + 14, {L"-useDaemon", L"4711"});
    for (std::wstring& element : elements) {
        std::erase(element, L'"');
    }
    EXPECT_EQ(assemble(), joined(elements, L'\n'));
    EXPECT_FALSE(machine.exists(L"C:\\Users\\ann\\Mivel\\ZEL\\1234\\ann\\logs\\shutdown.log"));
}

TEST_F(CommandAssembly, AMainProcessRecordsItsStart) {
    assemble();
    EXPECT_TRUE(machine.exists(L"C:\\Users\\ann\\Mivel\\ZEL\\1234\\ann\\logs\\shutdown.log"));
}

TEST_F(CommandAssembly, ADirectJavaStartHasTheJvmFirst) {
    kind = InstallConfigurationKind::service;
    home = L"C:\\Apps\\Client";
    set(install, L"cp", L"x.jar");
    arguments = {L"prog", L"word"};
    const std::wstring workspace = L"C:\\Apps\\Client\\eclipse\\.workspace";
    EXPECT_EQ(assemble(), joined({L"\"C:/Apps/Client/jvm/bin/javaw.exe\"",
                                  L"\"-Dvmfix=C:\\Users\\ann\\Mivel\\ZEL\\1234\\ann\\log\"",
                                  L"\"-Xss256k\"",
                                  L"-Dzel.home=\"C:\\Apps\\Client\"",
                                  L"-Dzel.data=\"" + workspace + L"\"",
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
                                  L"\"" + workspace + L"\"",
                                  L"-configuration",
                                  L"\"C:\\Apps\\Client\\eclipse\\.config\"",
                                  L"-application",
                                  L"\"com.example.app\"",
                                  L"-plugincustomization",
                                  L"\"C:/Apps/Client/custom.ini\"",
                                  L"-product",
                                  L"\"com.example.product\""},
                                 L' '));
}

TEST_F(CommandAssembly, ADirectJavaDaemonSendsNoPair) {
    kind = InstallConfigurationKind::service;
    isMain = false;
    EXPECT_EQ(assemble().find(L"-useDaemon"), std::wstring::npos);
}

TEST_F(CommandAssembly, ADirectJavaStartWithoutAVmHasNoHead) {
    kind = InstallConfigurationKind::service;
    unset(install, L"vm");
    EXPECT_TRUE(assemble().starts_with(std::wstring(1, L'\0') + L" \"-Dvmfix="));
}

TEST_F(CommandAssembly, AProvisioningStartRunsItsApplicationBehindTheOther) {
    set(launcher, L"provisioning.application", L"com.example.prov");
    std::vector<std::wstring> elements = wholeStart;
    elements.insert(elements.begin() + 12, {L"-application", L"com.example.prov", L"-userProvLaunch"});
    EXPECT_EQ(assemble(true, true), joined(elements, L' '));
    std::erase_if(install, [](const auto& entry) { return entry.key == L"-Djava.library.path"; });
    elements.erase(elements.begin() + 14);
    EXPECT_EQ(assemble(true, false), joined(elements, L' '));
}

TEST_F(CommandAssembly, TheFlagAloneMakesAProvisioningStart) {
    // The VM of a direct Java start takes the head over; the sections behind it are those of provisioning.
    kind = InstallConfigurationKind::service;
    EXPECT_TRUE(assemble(true, true).starts_with(L"\"C:/Apps/Client/jvm/bin/javaw.exe\" -startup "));
    EXPECT_EQ(command.find(L"org.eclipse.core.launcher.Main"), std::wstring::npos);
}

TEST_F(CommandAssembly, AProvisioningStartWithoutAnApplicationHasNoEmptyOne) {
    EXPECT_NE(assemble(true, false).find(L"\"com.example.product\" -vm "), std::wstring::npos);
}

TEST_F(CommandAssembly, TokensAreReplacedInWordsAndOverrides) {
    arguments = {L"prog", L"${zel.home}/a", L"${prop.java.home}"};
    overrides = {{L"vmarg.a", L"-Da=${prop.java.home}"}};
    EXPECT_NE(assemble().find(L" \"C:/Apps/Client/a\" \"${prop.java.home}\" -data"), std::wstring::npos);
    EXPECT_NE(command.find(L" \"-Da=C:/Apps/Client\" "), std::wstring::npos);
}

TEST_F(CommandAssembly, ATokenWithoutAValueIsFatal) {
    set(install, L"x", L"${prop.never}");
    assemble();
    expectFatal("ZLNCH0088E: property substitution is invalid (${prop.never})");
}

TEST_F(CommandAssembly, TheEnvironmentIsSetLast) {
    set(install, L"env.set.PATH", L"${env.PATH}");
    assemble();
    EXPECT_EQ(path, L"C:\\Windows\\System32");  // read before the library path was set, written after it
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
}

TEST_F(SharedClasses, StayWhenTheManifestIsKnown) {
    set(install, L"provisioning.manifest.version", L"2");
    assemble();
    EXPECT_FALSE(isCleared());
}

TEST_F(SharedClasses, AreClearedWhenTheVersionsDiffer) {
    set(install, L"provisioning.manifest.version", L"1");
    assemble();
    EXPECT_TRUE(isCleared());
    machine.writeFile(L"C:\\cache\\classes\\file", "");
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
