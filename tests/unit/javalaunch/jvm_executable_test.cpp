#include "javalaunch/jvm_executable.h"

#include <utility>

#include "unit/javalaunch/command_fixture.h"

namespace {

using zellauncher::Arguments;
using zellauncher::InstallConfigurationKind;

class JvmExecutable : public javalaunchtest::CommandTest {
protected:
    bool vmIsLibrary = false;
    bool waits = false;  // waitForPlatform, before and after the selection

    const std::wstring& select(const Arguments& commandLine = {L"prog"}) {
        return write([&] {
            zellauncher::waitForPlatform = waits;
            vmIsLibrary = zellauncher::appendVmSelection(install, launcher, commandLine);
            waits = zellauncher::waitForPlatform;
        });
    }
    const std::wstring& selectVm(const std::wstring& vm) { return select({L"prog", L"-vm", vm}); }
};

TEST_F(JvmExecutable, ArgumentBeatsTheProperty) {
    install = {{L"vm", L"C:/p/javaw.exe"}};
    EXPECT_EQ(select(), L" -vm \"C:/p/javaw.exe\"");
    EXPECT_EQ(selectVm(L"C:\\a\\x.exe"), L" -vm \"C:\\a\\x.exe\"");
    EXPECT_FALSE(vmIsLibrary);
}

TEST_F(JvmExecutable, VmOptionAfterVmargsIsUsedToo) {
    EXPECT_EQ(select({L"-vm", L"-vmargs", L"-vm", L"a.exe", L"-vm", L"never"}), L" -vm \"a.exe\"");
}

TEST_F(JvmExecutable, StartWithoutASelectionWaitsForNoPlatform) {
    waits = true;
    outcome = run([&] { waits = zellauncher::waitForPlatform; });
    EXPECT_FALSE(waits);
}

TEST_F(JvmExecutable, DaemonWritesNoQuotes) {
    isMain = false;
    EXPECT_EQ(selectVm(L"a b.exe"), L"\n-vm\na b.exe");
}

TEST_F(JvmExecutable, MissingVmIsNotWritten) {
    EXPECT_EQ(select(), L"");
    EXPECT_FALSE(vmIsLibrary);
    install = {{L"vm", L""}};
    EXPECT_EQ(select(), L" -vm \"\"");
}

TEST_F(JvmExecutable, VmOptionWithoutAValueIsFatal) {
    for (const Arguments& commandLine : {Arguments{L"prog", L"-vm"}, {L"prog", L"-vm", L""}}) {
        select(commandLine);
        outcome.expectFatal("ZLNCH0002E: vm must be specified with -vm argument!");
    }
}

// A custom name may itself end in a known name.
TEST_F(JvmExecutable, ReplacedNameIsNotReplacedAgain) {
    for (const std::wstring name :
         {L"k7w.exe", L"k7.exe", L"ak7w.exe", L"aak7w.exe", L"ak7.exe", L"aak7.exe"}) {
        machine.writeFile(L"C:\\j\\" + name, "");
    }
    set(launcher, L"javaw.exe.name.win32", L"ak7w.exe");
    set(launcher, L"java.exe.name.win32", L"ak7.exe");
    EXPECT_EQ(selectVm(L"C:\\j\\javaw.exe"), L" -vm \"C:\\j\\ak7w.exe\"");
    EXPECT_EQ(selectVm(L"C:\\j\\java.exe"), L" -vm \"C:\\j\\ak7.exe\"");
}

TEST_F(JvmExecutable, ReplacementReportsWhetherTheNameChanged) {
    machine.writeFile(L"C:\\j\\own.exe", "");
    std::wstring vm = L"C:\\j\\java.exe";
    run([&] {
        EXPECT_FALSE(zellauncher::replaceVmName(vm, L"java.exe", L"gone.exe"));
        EXPECT_FALSE(zellauncher::replaceVmName(vm, L"java.exe", L""));
        EXPECT_EQ(vm, L"C:\\j\\java.exe");
        EXPECT_FALSE(zellauncher::replaceVmNameChecked(vm, L"javaw.exe", L"gone.exe"));
        EXPECT_TRUE(zellauncher::replaceVmNameChecked(vm, L"java.exe", L"own.exe"));
        vm = L"C:\\j\\java.exe";
        EXPECT_TRUE(zellauncher::replaceVmName(vm, L"java.exe", L"own.exe"));
    });
    EXPECT_EQ(vm, L"C:\\j\\own.exe");
}

TEST_F(JvmExecutable, DirectJavaStartBeginsWithTheVm) {
    install = {{L"vm", L"C:/p/javaw.exe"}};
    for (const auto each : {InstallConfigurationKind::service, InstallConfigurationKind::multiuserService}) {
        kind = each;
        EXPECT_EQ(select(), L"\"C:/p/javaw.exe\"");
    }
    isMain = false;
    EXPECT_EQ(select(), L"C:/p/javaw.exe");
}

TEST_F(JvmExecutable, ConsoleOptionSelectsTheConsoleName) {
    const std::vector<std::pair<std::wstring, std::wstring>> names = {
        {L"javaw.exe", L"java.exe"}, {L"k7w.exe", L"k7.exe"}, {L"navarinw.exe", L"navarin.exe"}};
    for (const auto& [windowed, console] : names) {
        install = {{L"vm", L"C:/p/" + windowed}};
        select({L"prog", L"-console"});
        outcome.expectFatal("ZLNCH0003E: Specified vm (C:/p/" + std::string(console.begin(), console.end()) +
                            ") does not exist!");
        machine.writeFile(L"C:\\p\\" + console, "");
        EXPECT_EQ(select({L"prog", L"-console"}), L" -vm \"C:/p/" + console + L"\"");
        EXPECT_EQ(select({L"prog", L"-consoleLog"}), L" -vm \"C:/p/" + console + L"\"");
    }
    install = {{L"vm", L"C:/p/other.exe"}};
    EXPECT_EQ(select({L"prog", L"-console"}), L" -vm \"C:/p/other.exe\"");
}

TEST_F(JvmExecutable, CustomNamesNeedAnExistingFile) {
    install = {{L"vm", L"C:/p/javaw.exe"}};
    launcher = {{L"javaw.exe.name.win32", L"cw.exe"}, {L"java.exe.name.win32", L"c.exe"}};
    EXPECT_EQ(select(), L" -vm \"C:/p/javaw.exe\"");
    machine.writeFile(L"C:\\p\\cw.exe", "");
    EXPECT_EQ(select(), L" -vm \"C:/p/cw.exe\"");
    machine.writeFile(L"C:\\p\\java.exe", "");
    machine.writeFile(L"C:\\p\\c.exe", "");
    EXPECT_EQ(select({L"prog", L"-console"}), L" -vm \"C:/p/c.exe\"");
    launcher = {{L"javaw.exe.name.win32", L""}};
    EXPECT_EQ(select(), L" -vm \"C:/p/javaw.exe\"");
}

TEST_F(JvmExecutable, CustomNamesReplaceEveryKnownName) {
    launcher = {{L"javaw.exe.name.win32", L"cw.exe"}, {L"java.exe.name.win32", L"c.exe"}};
    machine.writeFile(L"C:\\p\\cw.exe", "");
    machine.writeFile(L"C:\\p\\c.exe", "");
    for (const std::wstring name : {L"javaw.exe", L"k7w.exe", L"navarinw.exe"}) {
        EXPECT_EQ(selectVm(L"C:/p/" + name), L" -vm \"C:/p/cw.exe\"");
    }
    for (const std::wstring name : {L"java.exe", L"k7.exe", L"navarin.exe"}) {
        EXPECT_EQ(selectVm(L"C:/p/" + name), L" -vm \"C:/p/c.exe\"");
    }
    EXPECT_EQ(selectVm(L"C:/p/JAVA.exe"), L" -vm \"C:/p/JAVA.exe\"");
}

TEST_F(JvmExecutable, CustomNamesOfTheInstallListAreIgnored) {
    machine.writeFile(L"C:\\p\\cw.exe", "");
    install = {{L"vm", L"C:/p/javaw.exe"}, {L"javaw.exe.name.win32", L"cw.exe"}};
    EXPECT_EQ(select(), L" -vm \"C:/p/javaw.exe\"");
}

TEST_F(JvmExecutable, LibraryNameIsNotReplaced) {
    EXPECT_EQ(select({L"prog", L"-vm", L"x.ee", L"-console"}), L" -vm \"x.ee\"");
    EXPECT_TRUE(vmIsLibrary);
}

// A value one character shorter than an ending is treated as a library.
TEST_F(JvmExecutable, LibraryIsRecognizedByItsEnding) {
    const std::vector<std::pair<std::wstring, bool>> cases = {
        {L"C:/first.dll/jvm.dll", true},
        {L"C:/jvm.dll", true},
        {L"C:/jvm.DLL", false},
        {L"x.ee.exe", false},
        {L"a", false},
        {L"ab", true},
        {L"abc", true},
        {L"abcd", false},
    };
    for (const auto& [vm, isLibrary] : cases) {
        selectVm(vm);
        EXPECT_EQ(vmIsLibrary, isLibrary) << vm;
    }
}

TEST_F(JvmExecutable, WaitOptionSetsWaitForPlatform) {
    select();
    EXPECT_FALSE(waits);
    select({L"-zelLauncherWait"});
    EXPECT_FALSE(waits);
    select({L"prog", L"-zelLauncherWait"});
    EXPECT_TRUE(waits);
    select();
    EXPECT_TRUE(waits);
}

}  // namespace
