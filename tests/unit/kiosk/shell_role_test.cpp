#include "kiosk/shell_role.h"

#include <gtest/gtest.h>

#include "support/faults.h"
#include "support/launcher_fixture.h"
#include "support/operations.h"

namespace {

using launchertest::lines;

constexpr const wchar_t* winLogon = L"Software\\Microsoft\\Windows NT\\CurrentVersion\\WinLogon";
constexpr const wchar_t* shells = L"Software\\Microsoft\\Windows NT\\CurrentVersion\\WinLogon\\KSDShells";
const std::string winLogonText = "HKLM\\Software\\Microsoft\\Windows NT\\CurrentVersion\\WinLogon";

// The messages up to the error code at their end.
const std::string openingLogonShell = "ZLNCH0057E: Error opening " + winLogonText + " key: rc = ";
const std::string readingLogonShell = "ZLNCH0058E: Error reading " + winLogonText + "\\Shell: rc = ";
const std::string openingKioskShell = "ZLNCH0131E: Error opening " + winLogonText + "\\KSDShells key: rc = ";
const std::string readingKioskShell = "ZLNCH0134E: Error reading " + winLogonText + "\\Shell: rc = ";

class ShellRole : public launchertest::OnMachine {
protected:
    launchertest::Outcome outcome;

    bool isKiosk() {
        bool answer = false;
        outcome = run([&] { answer = zellauncher::isKioskShellActive(); });
        return answer;
    }
    void setLogonShell(const std::wstring& shell) { machine.setRegistryText(winLogon, L"Shell", shell); }
    void setKioskShell(const std::wstring& shell) { machine.setRegistryText(shells, L"KSD_SHELL", shell); }
};

TEST_F(ShellRole, EqualShellsMakeAKiosk) {
    setLogonShell(L"C:\\Kiosk.EXE");
    setKioskShell(L"c:\\kiosk.exe");
    EXPECT_TRUE(isKiosk());
    EXPECT_EQ(outcome.log, "");
    setKioskShell(L"c:\\kiosk2.exe");
    EXPECT_FALSE(isKiosk());
    setKioskShell(L"c:\\kiosk.ex");
    EXPECT_FALSE(isKiosk());
}

TEST_F(ShellRole, OnlyTheCaseOfAToZIsIgnored) {
    setLogonShell(L"\u00C9@[");
    setKioskShell(L"\u00E9@[");
    EXPECT_FALSE(isKiosk());
    setLogonShell(L"@[AZ");
    setKioskShell(L"`{az");
    EXPECT_FALSE(isKiosk());
}

TEST_F(ShellRole, MissingKioskShellMakesNoKiosk) {
    setLogonShell(L"explorer.exe");
    EXPECT_FALSE(isKiosk());
    EXPECT_EQ(outcome.log, lines({openingKioskShell + "2"}));
}

TEST_F(ShellRole, TwoMissingKeysMakeAKiosk) {
    EXPECT_TRUE(isKiosk());
    EXPECT_EQ(outcome.log, lines({openingLogonShell + "2", openingKioskShell + "2"}));
}

TEST_F(ShellRole, TwoMissingValuesMakeAKiosk) {
    machine.setRegistryText(winLogon, L"Other", L"x");
    machine.setRegistryText(shells, L"Other", L"x");
    EXPECT_TRUE(isKiosk());
    EXPECT_EQ(outcome.log, lines({readingLogonShell + "2", readingKioskShell + "2"}));
}

TEST_F(ShellRole, UnopenableKeyIsLoggedWithItsErrorCode) {
    setLogonShell(L"kiosk.exe");
    setKioskShell(L"kiosk.exe");
    machine.inject(launchertest::failing("openRegistryKey", platform::errorAccessDenied, {}, 2));
    EXPECT_FALSE(isKiosk());
    EXPECT_EQ(outcome.log, lines({openingKioskShell + "5"}));
    EXPECT_TRUE(isKiosk());
}

TEST_F(ShellRole, MissingLogonShellIsAnEmptyText) {
    setKioskShell(L"kiosk.exe");
    EXPECT_FALSE(isKiosk());
    EXPECT_EQ(outcome.log, lines({openingLogonShell + "2"}));
    setKioskShell(L"");
    EXPECT_TRUE(isKiosk());
}

TEST_F(ShellRole, FailuresAreDebugLines) {
    outcome = runQuietly([] { EXPECT_TRUE(zellauncher::isKioskShellActive()); });
    EXPECT_EQ(outcome.log, "");
}

TEST_F(ShellRole, BothKeysAreOnlyReadAndClosed) {
    const std::string logon = "openRegistryKey Software\\Microsoft\\Windows NT\\CurrentVersion\\WinLogon";
    const std::set<std::string> registry = {"openRegistryKey", "queryRegistryText", "closeRegistryKey"};
    isKiosk();  // no key can be opened
    EXPECT_EQ(
        launchertest::traceOf(machine, registry),
        (std::vector<std::string>{logon, "closeRegistryKey", logon + "\\KSDShells", "closeRegistryKey"}));
    setLogonShell(L"a");
    setKioskShell(L"a");
    const std::size_t before = machine.operations().size();
    isKiosk();
    EXPECT_EQ(
        launchertest::traceOf(machine, registry, before),
        (std::vector<std::string>{logon, "queryRegistryText Shell", "closeRegistryKey", logon + "\\KSDShells",
                                  "queryRegistryText KSD_SHELL", "closeRegistryKey"}));
    for (const simulation::Operation& opening : launchertest::callsOf(machine, "openRegistryKey")) {
        EXPECT_EQ(opening.numbers[0], 1U);
    }
}

TEST_F(ShellRole, KioskShellLongerThanLogonShellIsNotRead) {
    setLogonShell(L"");
    setKioskShell(L"x");
    EXPECT_TRUE(isKiosk());  // the kiosk shell is treated as an empty text
    EXPECT_TRUE(outcome.logHas(readingKioskShell + "234"));
}

TEST_F(ShellRole, ShellOfNoBytesPreventsTheSecondRead) {
    machine.setRegistryBytes(platform::RegistryRoot::localMachine, winLogon, L"Shell", "");
    setKioskShell(L"kiosk.exe");
    EXPECT_TRUE(isKiosk());  // both are treated as empty texts
    EXPECT_EQ(outcome.log, lines({readingKioskShell + "234"}));
    machine.setRegistryBytes(platform::RegistryRoot::localMachine, shells, L"KSD_SHELL", "");
    EXPECT_TRUE(isKiosk());
    EXPECT_EQ(outcome.log, "");
}

TEST_F(ShellRole, KioskShellOfTheSameSizeIsRead) {
    for (const std::string& shell : {std::string("x"), std::string("x\0y", 3), std::string("x\0y\0", 4)}) {
        machine.setRegistryBytes(platform::RegistryRoot::localMachine, winLogon, L"Shell", shell);
        machine.setRegistryBytes(platform::RegistryRoot::localMachine, shells, L"KSD_SHELL", shell);
        EXPECT_TRUE(isKiosk());
        EXPECT_EQ(outcome.log, "");
        machine.setRegistryBytes(platform::RegistryRoot::localMachine, shells, L"KSD_SHELL",
                                 "z" + shell.substr(1));
        EXPECT_FALSE(isKiosk());
    }
}

TEST_F(ShellRole, ShellLongerThanTheBufferIsNotRead) {
    setLogonShell(std::wstring(500, L'x'));
    setKioskShell(std::wstring(499, L'x'));
    EXPECT_FALSE(isKiosk());
    EXPECT_TRUE(outcome.logHas(readingLogonShell + "234"));
    for (const std::size_t bytes : {std::size_t{1000}, std::size_t{1001}}) {
        machine.setRegistryBytes(platform::RegistryRoot::localMachine, winLogon, L"Shell",
                                 std::string(bytes, 'x'));
        isKiosk();
        EXPECT_EQ(outcome.logHas(readingLogonShell + "234"), bytes == 1001);
    }
}

}  // namespace
