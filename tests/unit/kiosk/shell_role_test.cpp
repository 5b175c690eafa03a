#include "kiosk/shell_role.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "support/launcher_fixture.h"

namespace {

constexpr const wchar_t* winLogon = L"Software\\Microsoft\\Windows NT\\CurrentVersion\\WinLogon";
constexpr const wchar_t* shells = L"Software\\Microsoft\\Windows NT\\CurrentVersion\\WinLogon\\KSDShells";
const std::string winLogonText = "Software\\Microsoft\\Windows NT\\CurrentVersion\\WinLogon";

class ShellRole : public launchertest::OnMachine {
protected:
    launchertest::Outcome outcome;

    bool isKiosk() {
        bool answer = false;
        outcome = run([&] { answer = zellauncher::isKioskShellActive(); });
        return answer;
    }
};

TEST_F(ShellRole, EqualShellsMakeAKiosk) {
    machine.setRegistryText(winLogon, L"Shell", L"C:\\Kiosk.EXE");
    machine.setRegistryText(shells, L"KSD_SHELL", L"c:\\kiosk.exe");
    EXPECT_TRUE(isKiosk());
    EXPECT_EQ(outcome.log, "");
    machine.setRegistryText(shells, L"KSD_SHELL", L"c:\\kiosk2.exe");
    EXPECT_FALSE(isKiosk());
    machine.setRegistryText(shells, L"KSD_SHELL", L"c:\\kiosk.ex");
    EXPECT_FALSE(isKiosk());
}

TEST_F(ShellRole, OnlyTheCaseOfAToZIsLeftAside) {
    machine.setRegistryText(winLogon, L"Shell", L"\u00C9@[");
    machine.setRegistryText(shells, L"KSD_SHELL", L"\u00E9@[");
    EXPECT_FALSE(isKiosk());
    machine.setRegistryText(winLogon, L"Shell", L"@[AZ");
    machine.setRegistryText(shells, L"KSD_SHELL", L"`{az");
    EXPECT_FALSE(isKiosk());
}

TEST_F(ShellRole, WithoutAKioskShellThereIsNoKiosk) {
    machine.setRegistryText(winLogon, L"Shell", L"explorer.exe");
    EXPECT_FALSE(isKiosk());
    EXPECT_EQ(outcome.log, "ZLNCH0131E: Error opening HKLM\\" + winLogonText + "\\KSDShells key: rc = 2\n");
}

TEST_F(ShellRole, WithNeitherTheMachineCountsAsAKiosk) {
    EXPECT_TRUE(isKiosk());
    EXPECT_EQ(outcome.log, "ZLNCH0057E: Error opening HKLM\\" + winLogonText +
                               " key: rc = 2\nZLNCH0131E: Error opening HKLM\\" + winLogonText +
                               "\\KSDShells key: rc = 2\n");
}

TEST_F(ShellRole, MissingValuesAreTold) {
    machine.setRegistryText(winLogon, L"Other", L"x");
    machine.setRegistryText(shells, L"Other", L"x");
    EXPECT_TRUE(isKiosk());
    EXPECT_EQ(outcome.log, "ZLNCH0058E: Error reading HKLM\\" + winLogonText +
                               "\\Shell: rc = 2\nZLNCH0134E: Error reading HKLM\\" + winLogonText +
                               "\\Shell: rc = 2\n");
}

TEST_F(ShellRole, AnUnreadableKeyIsToldWithItsCode) {
    machine.setRegistryText(winLogon, L"Shell", L"kiosk.exe");
    machine.setRegistryText(shells, L"KSD_SHELL", L"kiosk.exe");
    simulation::Fault fault;
    fault.operation = "openRegistryKey";
    fault.nth = 2;
    machine.inject(fault);
    EXPECT_FALSE(isKiosk());
    EXPECT_EQ(outcome.log, "ZLNCH0131E: Error opening HKLM\\" + winLogonText + "\\KSDShells key: rc = 5\n");
    EXPECT_TRUE(isKiosk());
}

TEST_F(ShellRole, AKioskShellWithoutALogonShellIsComparedWithAnEmptyText) {
    machine.setRegistryText(shells, L"KSD_SHELL", L"kiosk.exe");
    EXPECT_FALSE(isKiosk());
    EXPECT_EQ(outcome.log, "ZLNCH0057E: Error opening HKLM\\" + winLogonText + " key: rc = 2\n");
    machine.setRegistryText(shells, L"KSD_SHELL", L"");
    EXPECT_TRUE(isKiosk());
}

TEST_F(ShellRole, FailuresAreForDebugging) {
    outcome = runQuietly([] { EXPECT_TRUE(zellauncher::isKioskShellActive()); });
    EXPECT_EQ(outcome.log, "");
}

TEST_F(ShellRole, BothKeysAreGivenBack) {
    isKiosk();
    machine.setRegistryText(winLogon, L"Shell", L"a");
    machine.setRegistryText(shells, L"KSD_SHELL", L"a");
    isKiosk();
    const auto closings = std::count_if(
        machine.operations().begin(), machine.operations().end(),
        [](const simulation::Operation& operation) { return operation.name == "closeRegistryKey"; });
    EXPECT_EQ(closings, 4);
}

TEST_F(ShellRole, AKioskShellLongerThanTheLogonShellIsNotRead) {
    machine.setRegistryText(winLogon, L"Shell", L"");
    machine.setRegistryText(shells, L"KSD_SHELL", L"x");
    EXPECT_TRUE(isKiosk());  // the unread text is empty, as the logon shell is
    EXPECT_TRUE(outcome.logHas("ZLNCH0134E: Error reading HKLM\\" + winLogonText + "\\Shell: rc = 234"));
}

TEST_F(ShellRole, AShellBeyondTheBufferIsNotRead) {
    machine.setRegistryText(winLogon, L"Shell", std::wstring(500, L'x'));
    machine.setRegistryText(shells, L"KSD_SHELL", std::wstring(499, L'x'));
    EXPECT_FALSE(isKiosk());
    EXPECT_TRUE(outcome.logHas("ZLNCH0058E: Error reading HKLM\\" + winLogonText + "\\Shell: rc = 234"));
}

}  // namespace
