#include "javalaunch/jvm_selection.h"

#include "unit/javalaunch/command_fixture.h"

namespace {

using zellauncher::Arguments;
using zellauncher::InstallConfigurationKind;

class JvmSelection : public javalaunchtest::CommandTest {
protected:
    bool vmIsLibrary = false;
    bool waits = false;

    const std::wstring& select(const Arguments& words = {L"prog"}, bool waitsBefore = false) {
        return write([&] {
            zellauncher::waitForPlatform = waitsBefore;
            vmIsLibrary = zellauncher::appendVmSelection(install, launcher, words);
            waits = zellauncher::waitForPlatform;
        });
    }
};

TEST_F(JvmSelection, TheArgumentWinsOverTheProperty) {
    install = {{L"vm", L"C:/p/javaw.exe"}};
    EXPECT_EQ(select(), L" -vm \"C:/p/javaw.exe\"");
    EXPECT_EQ(select({L"prog", L"-vm", L"C:\\a\\x.exe"}), L" -vm \"C:\\a\\x.exe\"");
    EXPECT_FALSE(vmIsLibrary);
}

TEST_F(JvmSelection, AnOptionBehindVmargsIsTheSourceToo) {
    EXPECT_EQ(select({L"-vm", L"-vmargs", L"-vm", L"a.exe", L"-vm", L"never"}), L" -vm \"a.exe\"");
}

TEST_F(JvmSelection, ADaemonsListHasNoQuotes) {
    isMain = false;
    EXPECT_EQ(select({L"prog", L"-vm", L"a b.exe"}), L"\n-vm\na b.exe");
}

TEST_F(JvmSelection, WithoutAValueNothingIsWritten) {
    EXPECT_EQ(select(), L"");
    EXPECT_FALSE(vmIsLibrary);
    install = {{L"vm", L""}};
    EXPECT_EQ(select(), L" -vm \"\"");
}

TEST_F(JvmSelection, AnOptionNeedsItsValue) {
    select({L"prog", L"-vm"});
    expectFatal("ZLNCH0002E: vm must be specified with -vm argument!");
    select({L"prog", L"-vm", L""});
    expectFatal("ZLNCH0002E: vm must be specified with -vm argument!");
}

// A name of the install's own may itself end in a known one, which is then not replaced again.
TEST_F(JvmSelection, AReplacedNameStays) {
    for (const std::wstring name :
         {L"k7w.exe", L"k7.exe", L"ak7w.exe", L"aak7w.exe", L"ak7.exe", L"aak7.exe"}) {
        machine.writeFile(L"C:\\j\\" + name, "");
    }
    set(launcher, L"javaw.exe.name.win32", L"ak7w.exe");
    set(launcher, L"java.exe.name.win32", L"ak7.exe");
    EXPECT_EQ(select({L"prog", L"-vm", L"C:\\j\\javaw.exe"}), L" -vm \"C:\\j\\ak7w.exe\"");
    EXPECT_EQ(select({L"prog", L"-vm", L"C:\\j\\java.exe"}), L" -vm \"C:\\j\\ak7.exe\"");
}

TEST_F(JvmSelection, AReplacementTellsWhetherItHappened) {
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

TEST_F(JvmSelection, ADirectJavaStartHasTheVmAtItsHead) {
    install = {{L"vm", L"C:/p/javaw.exe"}};
    for (const auto each : {InstallConfigurationKind::service, InstallConfigurationKind::multiuserService}) {
        kind = each;
        EXPECT_EQ(select(), L"\"C:/p/javaw.exe\"");
    }
    isMain = false;
    EXPECT_EQ(select(), L"C:/p/javaw.exe");
}

TEST_F(JvmSelection, AConsoleSwapsTheName) {
    const std::vector<std::pair<std::wstring, std::wstring>> names = {
        {L"javaw.exe", L"java.exe"}, {L"k7w.exe", L"k7.exe"}, {L"navarinw.exe", L"navarin.exe"}};
    for (const auto& [windowed, console] : names) {
        install = {{L"vm", L"C:/p/" + windowed}};
        select({L"prog", L"-console"});
        expectFatal("ZLNCH0003E: Specified vm (C:/p/" + std::string(console.begin(), console.end()) +
                    ") does not exist!");
        machine.writeFile(L"C:\\p\\" + console, "");
        EXPECT_EQ(select({L"prog", L"-console"}), L" -vm \"C:/p/" + console + L"\"");
        EXPECT_EQ(select({L"prog", L"-consoleLog"}), L" -vm \"C:/p/" + console + L"\"");
    }
    install = {{L"vm", L"C:/p/other.exe"}};
    EXPECT_EQ(select({L"prog", L"-console"}), L" -vm \"C:/p/other.exe\"");
}

TEST_F(JvmSelection, CustomNamesApplyWhenTheirFilesExist) {
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

TEST_F(JvmSelection, EachKnownNameHasItsCustomName) {
    launcher = {{L"javaw.exe.name.win32", L"cw.exe"}, {L"java.exe.name.win32", L"c.exe"}};
    machine.writeFile(L"C:\\p\\cw.exe", "");
    machine.writeFile(L"C:\\p\\c.exe", "");
    for (const std::wstring name : {L"javaw.exe", L"k7w.exe", L"navarinw.exe"}) {
        EXPECT_EQ(select({L"prog", L"-vm", L"C:/p/" + name}), L" -vm \"C:/p/cw.exe\"");
    }
    for (const std::wstring name : {L"java.exe", L"k7.exe", L"navarin.exe"}) {
        EXPECT_EQ(select({L"prog", L"-vm", L"C:/p/" + name}), L" -vm \"C:/p/c.exe\"");
    }
    EXPECT_EQ(select({L"prog", L"-vm", L"C:/p/JAVA.exe"}), L" -vm \"C:/p/JAVA.exe\"");
}

TEST_F(JvmSelection, CustomNamesOfTheInstallListMeanNothing) {
    machine.writeFile(L"C:\\p\\cw.exe", "");
    install = {{L"vm", L"C:/p/javaw.exe"}, {L"javaw.exe.name.win32", L"cw.exe"}};
    EXPECT_EQ(select(), L" -vm \"C:/p/javaw.exe\"");
}

TEST_F(JvmSelection, ALibraryIsUsedAsItStands) {
    EXPECT_EQ(select({L"prog", L"-vm", L"x.ee", L"-console"}), L" -vm \"x.ee\"");
    EXPECT_TRUE(vmIsLibrary);
    select({L"prog", L"-vm", L"C:/first.dll/jvm.dll"});
    EXPECT_TRUE(vmIsLibrary);
    select({L"prog", L"-vm", L"C:/jvm.dll"});
    EXPECT_TRUE(vmIsLibrary);
    select({L"prog", L"-vm", L"C:/jvm.DLL"});
    EXPECT_FALSE(vmIsLibrary);
    select({L"prog", L"-vm", L"x.ee.exe"});
    EXPECT_FALSE(vmIsLibrary);
}

TEST_F(JvmSelection, ValuesOneCharacterShorterThanAnEndingCountAsLibraries) {
    select({L"prog", L"-vm", L"ab"});
    EXPECT_TRUE(vmIsLibrary);
    select({L"prog", L"-vm", L"abc"});
    EXPECT_TRUE(vmIsLibrary);
    select({L"prog", L"-vm", L"a"});
    EXPECT_FALSE(vmIsLibrary);
    select({L"prog", L"-vm", L"abcd"});
    EXPECT_FALSE(vmIsLibrary);
}

TEST_F(JvmSelection, TheWaitOptionIsRemembered) {
    select();
    EXPECT_FALSE(waits);
    select({L"prog", L"-zelLauncherWait"});
    EXPECT_TRUE(waits);
    select({L"prog"}, true);
    EXPECT_TRUE(waits);
    select({L"-zelLauncherWait"});
    EXPECT_FALSE(waits);
}

}  // namespace
