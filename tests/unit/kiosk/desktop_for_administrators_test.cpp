#include <gtest/gtest.h>

#include <algorithm>

#include "kiosk/shell_role.h"
#include "support/launcher_fixture.h"

namespace {

using platform::RegistryRoot;

constexpr const wchar_t* winLogon = L"Software\\Microsoft\\Windows NT\\CurrentVersion\\WinLogon";
constexpr const wchar_t* shells = L"Software\\Microsoft\\Windows NT\\CurrentVersion\\WinLogon\\KSDShells";
constexpr const wchar_t* explorerPolicies =
    L"Software\\Microsoft\\Windows\\CurrentVersion\\Policies\\Explorer";
constexpr const wchar_t* systemPolicies = L"Software\\Microsoft\\Windows\\CurrentVersion\\Policies\\System";

// A kiosk machine whose administrator logs on.
class DesktopForAdministrators : public launchertest::OnMachine {
protected:
    DesktopForAdministrators() {
        machine.setRegistryText(winLogon, L"Shell", L"kiosk.exe");
        machine.setRegistryText(shells, L"KSD_SHELL", L"kiosk.exe");
        machine.setRegistryText(shells, L"ADMIN_SHELL", L"explorer.exe");
        machine.makeRegistryKey(RegistryRoot::currentUser, explorerPolicies);
        machine.makeRegistryKey(RegistryRoot::currentUser, systemPolicies);
        machine.setCurrentDirectory(L"C:\\Windows");
        machine.installProgram(L"C:\\Windows\\Explorer.exe", [this] {
            shellAtDesktop = shell();
            return 0;
        });
    }

    std::wstring shell() const {
        return machine.registryValue(RegistryRoot::localMachine, winLogon, L"Shell")
            .value_or(simulation::RegistryValue{L"(none)", {}})
            .text;
    }
    // -1 for a value that is not there.
    std::int64_t policy(const wchar_t* key, const wchar_t* name) const {
        const auto value = machine.registryValue(RegistryRoot::currentUser, key, name);
        return value && value->number ? std::int64_t{*value->number} : -1;
    }
    void refuse(const std::string& operation, const std::wstring& argument, std::uint64_t nth = 1) {
        simulation::Fault fault;
        fault.operation = operation;
        fault.argumentEndsWith = argument;
        fault.nth = nth;
        machine.inject(fault);
    }
    launchertest::Outcome takeRole() {
        return run([] { zellauncher::runKioskShellRole(); });
    }

    std::wstring shellAtDesktop;
};

TEST_F(DesktopForAdministrators, TheShellIsTheAdministratorsForAMoment) {
    const launchertest::Outcome outcome = takeRole();
    EXPECT_EQ(outcome.end.status, 0U);
    EXPECT_EQ(outcome.log, "");
    EXPECT_EQ(shell(), L"kiosk.exe");
    ASSERT_EQ(machine.startedProcesses().size(), 1U);
    EXPECT_EQ(machine.startedProcesses()[0].commandLine, L"Explorer.exe");
    EXPECT_EQ(machine.startedProcesses()[0].start.flags, 0U);
    EXPECT_FALSE(machine.startedProcesses()[0].start.title);
    for (const wchar_t* name : {L"NoClose", L"NoLogoff"}) {
        EXPECT_EQ(policy(explorerPolicies, name), 0);
    }
    for (const wchar_t* name : {L"DisableChangePassword", L"DisableLockworkstation", L"DisableTaskMgr"}) {
        EXPECT_EQ(policy(systemPolicies, name), 0);
    }
}

TEST_F(DesktopForAdministrators, TheWritesComeInTheirOrder) {
    takeRole();
    std::vector<std::wstring> writes;
    for (const simulation::Operation& operation : machine.operations()) {
        if (operation.name.starts_with("setRegistry") || operation.name == "createProcess" ||
            operation.name == "waitForInputIdle") {
            writes.push_back(operation.argument);
        }
    }
    EXPECT_EQ(writes, (std::vector<std::wstring>{L"Shell", L"NoClose", L"NoLogoff", L"DisableChangePassword",
                                                 L"DisableLockworkstation", L"DisableTaskMgr",
                                                 L"Explorer.exe", L"", L"Shell"}));
}

TEST_F(DesktopForAdministrators, WithoutANameOfTheirsTheShellIsEmptyForAMoment) {
    machine.removeRegistryText(shells, L"ADMIN_SHELL");
    const launchertest::Outcome outcome = run([this] {
        EXPECT_TRUE(zellauncher::setShellToAdmin());
        EXPECT_EQ(shell(), L"");
        zellauncher::runKioskShellRole();
    });
    EXPECT_TRUE(
        outcome.logHas("ZLNCH0135E: Error reading HKLM\\Software\\Microsoft\\Windows "
                       "NT\\CurrentVersion\\WinLogon\\KSDShells\\ADMIN_SHELL: rc = 2"));
    EXPECT_TRUE(outcome.logHas("ZLNCH0060E: Error getting Shell name ADMIN_SHELL"));
    EXPECT_EQ(machine.startedProcesses().size(), 1U);
    EXPECT_EQ(shell(), L"kiosk.exe");
}

TEST_F(DesktopForAdministrators, WithoutANameOfTheKiosksTheShellStaysEmpty) {
    machine.removeRegistryText(shells, L"KSD_SHELL");
    const launchertest::Outcome outcome = takeRole();
    EXPECT_TRUE(outcome.logHas("ZLNCH0066E: Could not retrieve KSD_SHELL"));
    EXPECT_EQ(shell(), L"");
}

TEST_F(DesktopForAdministrators, AUserWhoMayNotChangeTheMachineGetsADesktopAllTheSame) {
    machine.refuseRegistryChanges(RegistryRoot::localMachine);
    const launchertest::Outcome outcome = run([] {
        EXPECT_FALSE(zellauncher::setShellToAdmin());
        EXPECT_FALSE(zellauncher::setShellToKiosk());
        zellauncher::runKioskShellRole();
    });
    EXPECT_EQ(outcome.end.status, 0U);
    EXPECT_EQ(outcome.log, "");
    EXPECT_EQ(shell(), L"kiosk.exe");
    EXPECT_EQ(policy(explorerPolicies, L"NoClose"), 0);
    EXPECT_EQ(policy(systemPolicies, L"DisableTaskMgr"), 0);
    EXPECT_EQ(machine.startedProcesses().size(), 1U);
}

TEST_F(DesktopForAdministrators, AShellThatCannotBeWrittenIsToldForTheAdministratorsAlone) {
    refuse("setRegistryText", L"Shell");
    EXPECT_EQ(run([] { EXPECT_FALSE(zellauncher::setShellToAdmin()); }).log,
              "Problem calling RegSetValueEx with ADMIN_SHELL\n");
    machine.clearFaults();
    refuse("setRegistryText", L"Shell");
    EXPECT_EQ(run([] { EXPECT_FALSE(zellauncher::setShellToKiosk()); }).log, "");
    EXPECT_EQ(shell(), L"kiosk.exe");
}

TEST_F(DesktopForAdministrators, AMissingProgramEndsTheRoleAsWell) {
    machine.remove(L"C:\\Windows\\Explorer.exe");
    EXPECT_EQ(takeRole().end.status, 0U);
    EXPECT_EQ(shell(), L"kiosk.exe");
}

TEST_F(DesktopForAdministrators, AKindThatIsNoneIsTold) {
    const launchertest::Outcome outcome = run([] {
        std::wstring name = L"as it was";
        EXPECT_FALSE(zellauncher::readKioskShellValue(static_cast<zellauncher::KioskShell>(3), name));
        EXPECT_EQ(name, L"as it was");
    });
    EXPECT_EQ(outcome.log, "ZLNCH0059E: Error Invalid value type of 3\n");
}

TEST_F(DesktopForAdministrators, ANameOfMoreThanAThousandBytesIsNotRead) {
    machine.setRegistryText(shells, L"ADMIN_SHELL", std::wstring(499, L'x'));
    run([] {
        std::wstring name;
        EXPECT_TRUE(zellauncher::readKioskShellValue(zellauncher::KioskShell::administrators, name));
        EXPECT_EQ(name, std::wstring(499, L'x'));
    });
    machine.setRegistryText(shells, L"ADMIN_SHELL", std::wstring(500, L'x'));
    const launchertest::Outcome outcome = run([] {
        std::wstring name;
        EXPECT_FALSE(zellauncher::readKioskShellValue(zellauncher::KioskShell::administrators, name));
    });
    EXPECT_NE(outcome.log.find("ADMIN_SHELL: rc = 234\n"), std::string::npos);
}

TEST_F(DesktopForAdministrators, ShellsThatCannotBeReachedAreTold) {
    refuse("openRegistryKey", L"KSDShells");
    const launchertest::Outcome outcome = run([] {
        std::wstring name;
        EXPECT_FALSE(zellauncher::readKioskShellValue(zellauncher::KioskShell::kiosk, name));
    });
    EXPECT_EQ(outcome.log,
              "ZLNCH0132E: Error opening HKLM\\Software\\Microsoft\\Windows "
              "NT\\CurrentVersion\\WinLogon\\KSDShells key: rc = 5\n");
}

TEST_F(DesktopForAdministrators, PoliciesThatCannotBeReachedAreToldAndPassedOver) {
    refuse("openRegistryKey", L"Policies\\Explorer");
    refuse("openRegistryKey", L"Policies\\System");
    const launchertest::Outcome outcome = run([] { EXPECT_TRUE(zellauncher::clearDesktopPolicies()); });
    EXPECT_EQ(outcome.log,
              "ZLNCH0080E: Error opening HKCU\\Software\\Microsoft\\Windows\\CurrentVersion"
              "\\Policies\\Explorer key: rc = 5\n"
              "ZLNCH0133E: Error opening HKCU\\Software\\Microsoft\\Windows\\CurrentVersion"
              "\\Policies\\System key: rc = 5\n");
}

TEST_F(DesktopForAdministrators, TheFirstPolicyThatCannotBeClearedEndsTheClearing) {
    const std::vector<std::pair<std::wstring, std::string>> policies = {
        {L"NoClose", "ZLNCH0061E: Problem setting NoClose to 0\n"},
        {L"NoLogoff", "ZLNCH0062E: Problem setting NoLogoff to 0\n"},
        {L"DisableChangePassword", "ZLNCH0063E: Problem setting DisableChangePassword to 0\n"},
        {L"DisableLockworkstation", "ZLNCH0064E: Problem setting DisableTaskMgr to 0\n"},
        {L"DisableTaskMgr", "ZLNCH0065E: Problem setting DisableTaskMg to 0\n"}};
    for (std::size_t i = 0; i < policies.size(); ++i) {
        const std::size_t before = machine.operations().size();
        refuse("setRegistryNumber", policies[i].first);
        EXPECT_EQ(run([] { EXPECT_FALSE(zellauncher::clearDesktopPolicies()); }).log, policies[i].second);
        machine.clearFaults();
        EXPECT_EQ(static_cast<std::size_t>(
                      std::count_if(machine.operations().begin() + static_cast<std::ptrdiff_t>(before),
                                    machine.operations().end(),
                                    [](const simulation::Operation& operation) {
                                        return operation.name == "setRegistryNumber";
                                    })),
                  i + 1);
    }
}

// What an administrator finds after a machine lost its power in the middle of the role.
TEST_F(DesktopForAdministrators, ACrashLeavesTheAdministratorsShellBetweenTheTwoWritesAlone) {
    std::vector<std::wstring> shellsLeft;
    for (std::uint64_t stop = 1;; ++stop) {
        machine.setRegistryText(winLogon, L"Shell", L"kiosk.exe");
        simulation::ProcessEnd end;
        const std::size_t before = machine.operations().size();
        machine.stopDeadAt(stop);
        end = machine.run({L"C:\\Windows\\zellauncher.exe"}, [] {
            zellauncher::runKioskShellRole();
            return 0;
        });
        machine.stopDeadAt(0);
        if (end.kind == simulation::EndKind::exited) {
            break;
        }
        const bool isWritten = std::any_of(machine.operations().begin() + static_cast<std::ptrdiff_t>(before),
                                           machine.operations().end() - 1, [](const auto& operation) {
                                               return operation.name == "setRegistryText";
                                           });
        EXPECT_EQ(shell() == L"explorer.exe", isWritten && shell() != L"kiosk.exe");
        shellsLeft.push_back(shell());
    }
    // Kiosk until the first write, administrators until the second, kiosk again.
    const auto first = std::find(shellsLeft.begin(), shellsLeft.end(), L"explorer.exe");
    const auto behind = std::find(first, shellsLeft.end(), L"kiosk.exe");
    EXPECT_NE(first, shellsLeft.begin());
    EXPECT_GT(behind - first, 10);
    EXPECT_NE(behind, shellsLeft.end());
    EXPECT_EQ(std::find(behind, shellsLeft.end(), L"explorer.exe"), shellsLeft.end());
}

}  // namespace
