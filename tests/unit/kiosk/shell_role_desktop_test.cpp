#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <optional>

#include "kiosk/shell_role.h"
#include "platform/clock.h"
#include "support/faults.h"
#include "support/launcher_fixture.h"
#include "support/operations.h"

namespace {

using platform::RegistryRoot;
using zellauncher::KioskShell;

constexpr const wchar_t* winLogon = L"Software\\Microsoft\\Windows NT\\CurrentVersion\\WinLogon";
constexpr const wchar_t* shells = L"Software\\Microsoft\\Windows NT\\CurrentVersion\\WinLogon\\KSDShells";
constexpr const wchar_t* explorerPolicies =
    L"Software\\Microsoft\\Windows\\CurrentVersion\\Policies\\Explorer";
constexpr const wchar_t* systemPolicies = L"Software\\Microsoft\\Windows\\CurrentVersion\\Policies\\System";

// A kiosk machine on which an administrator logs on.
class ShellRoleDesktop : public launchertest::OnMachine {
protected:
    ShellRoleDesktop() {
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
    // -1 for a missing value.
    std::int64_t policy(const wchar_t* key, const wchar_t* name) const {
        const auto value = machine.registryValue(RegistryRoot::currentUser, key, name);
        return value && value->number ? std::int64_t{*value->number} : -1;
    }
    void failOnce(const std::string& operation, const std::wstring& argument) {
        machine.inject(launchertest::failing(operation, platform::errorAccessDenied, argument));
    }
    // Runs the shell role, which ends its process with 0.
    launchertest::Outcome takeRole(const std::function<void()>& before = [] {}) {
        launchertest::Outcome outcome = run([&] {
            before();
            zellauncher::runKioskShellRole();
        });
        EXPECT_EQ(outcome.processEnd().kind, simulation::EndKind::exited);
        EXPECT_EQ(outcome.processEnd().status, 0U);
        return outcome;
    }

    std::wstring shellAtDesktop;
};

TEST_F(ShellRoleDesktop, ShellIsTheAdministratorsForAMoment) {
    const launchertest::Outcome outcome = takeRole();
    EXPECT_EQ(outcome.log, "");
    EXPECT_EQ(shellAtDesktop, L"explorer.exe");
    EXPECT_EQ(shell(), L"kiosk.exe");
    ASSERT_EQ(machine.startedProcesses().size(), 1U);
    EXPECT_EQ(machine.startedProcesses()[0].commandLine, L"Explorer.exe");
    EXPECT_EQ(machine.startedProcesses()[0].start.flags, 0U);
    EXPECT_FALSE(machine.startedProcesses()[0].start.title);
    EXPECT_EQ(launchertest::callsOf(machine, "waitForInputIdle").at(0).numbers[0], 5000U);
    for (const wchar_t* name : {L"NoClose", L"NoLogoff"}) {
        EXPECT_EQ(policy(explorerPolicies, name), 0);
    }
    for (const wchar_t* name : {L"DisableChangePassword", L"DisableLockworkstation", L"DisableTaskMgr"}) {
        EXPECT_EQ(policy(systemPolicies, name), 0);
    }
}

TEST_F(ShellRoleDesktop, WritesAreInOrder) {
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

// The two keys that are opened for writing the shell stay open.
TEST_F(ShellRoleDesktop, KeysAreOpenedWithTheRightsForTheirUseAndClosed) {
    takeRole();
    const std::string logon = "Software\\Microsoft\\Windows NT\\CurrentVersion\\WinLogon";
    const std::string policies = "Software\\Microsoft\\Windows\\CurrentVersion\\Policies\\";
    EXPECT_EQ(launchertest::traceOf(machine, {"openRegistryKey", "queryRegistryText", "setRegistryText",
                                              "setRegistryNumber", "closeRegistryKey"}),
              (std::vector<std::string>{
                  "openRegistryKey " + logon, "openRegistryKey " + logon + "\\KSDShells",
                  "queryRegistryText ADMIN_SHELL", "closeRegistryKey", "setRegistryText Shell",
                  "openRegistryKey " + policies + "Explorer", "setRegistryNumber NoClose",
                  "setRegistryNumber NoLogoff", "closeRegistryKey", "openRegistryKey " + policies + "System",
                  "setRegistryNumber DisableChangePassword", "setRegistryNumber DisableLockworkstation",
                  "setRegistryNumber DisableTaskMgr", "closeRegistryKey", "openRegistryKey " + logon,
                  "openRegistryKey " + logon + "\\KSDShells", "queryRegistryText KSD_SHELL",
                  "closeRegistryKey", "setRegistryText Shell"}));
    std::vector<std::uint32_t> rights;
    for (const simulation::Operation& opening : launchertest::callsOf(machine, "openRegistryKey")) {
        rights.push_back(opening.numbers[0]);
    }
    EXPECT_EQ(rights, (std::vector<std::uint32_t>{3, 1, 0xF003F, 0xF003F, 3, 1}));
}

TEST_F(ShellRoleDesktop, MissingAdministratorsShellIsEmptyForAMoment) {
    machine.removeRegistryText(shells, L"ADMIN_SHELL");
    const launchertest::Outcome outcome = takeRole([this] {
        EXPECT_TRUE(zellauncher::setShellToAdmin());
        EXPECT_EQ(shell(), L"");
    });
    EXPECT_TRUE(
        outcome.logHas("ZLNCH0135E: Error reading HKLM\\Software\\Microsoft\\Windows "
                       "NT\\CurrentVersion\\WinLogon\\KSDShells\\ADMIN_SHELL: rc = 2"));
    EXPECT_TRUE(outcome.logHas("ZLNCH0060E: Error getting Shell name ADMIN_SHELL"));
    EXPECT_EQ(machine.startedProcesses().size(), 1U);
    EXPECT_EQ(shell(), L"kiosk.exe");
}

TEST_F(ShellRoleDesktop, MissingKioskShellLeavesAnEmptyShell) {
    machine.removeRegistryText(shells, L"KSD_SHELL");
    const launchertest::Outcome outcome = takeRole();
    EXPECT_TRUE(outcome.logHas("ZLNCH0066E: Could not retrieve KSD_SHELL"));
    EXPECT_EQ(shell(), L"");
}

TEST_F(ShellRoleDesktop, UnwritableShellStillGivesADesktop) {
    machine.refuseRegistryChanges(RegistryRoot::localMachine);
    const launchertest::Outcome outcome = takeRole([] {
        EXPECT_FALSE(zellauncher::setShellToAdmin());
        EXPECT_FALSE(zellauncher::setShellToKiosk());
    });
    EXPECT_EQ(outcome.log, "");
    EXPECT_EQ(shell(), L"kiosk.exe");
    EXPECT_EQ(policy(explorerPolicies, L"NoClose"), 0);
    EXPECT_EQ(policy(systemPolicies, L"DisableTaskMgr"), 0);
    EXPECT_EQ(machine.startedProcesses().size(), 1U);
}

TEST_F(ShellRoleDesktop, FailedWriteIsLoggedForAdministratorsOnly) {
    failOnce("setRegistryText", L"Shell");
    EXPECT_EQ(run([] { EXPECT_FALSE(zellauncher::setShellToAdmin()); }).log,
              "Problem calling RegSetValueEx with ADMIN_SHELL\n");
    machine.clearFaults();
    failOnce("setRegistryText", L"Shell");
    EXPECT_EQ(run([] { EXPECT_FALSE(zellauncher::setShellToKiosk()); }).log, "");
    EXPECT_EQ(shell(), L"kiosk.exe");
}

TEST_F(ShellRoleDesktop, SuccessfulWritesAreReported) {
    run([this] {
        EXPECT_TRUE(zellauncher::setShellToAdmin());
        EXPECT_EQ(shell(), L"explorer.exe");
        EXPECT_TRUE(zellauncher::setShellToKiosk());
        EXPECT_EQ(shell(), L"kiosk.exe");
    });
}

TEST_F(ShellRoleDesktop, MissingExplorerStillRestoresTheShell) {
    machine.remove(L"C:\\Windows\\Explorer.exe");
    takeRole();
    EXPECT_EQ(shell(), L"kiosk.exe");
}

TEST_F(ShellRoleDesktop, UnknownKindOfShellIsLogged) {
    const launchertest::Outcome outcome =
        run([] { EXPECT_EQ(zellauncher::readKioskShellValue(static_cast<KioskShell>(3)), std::nullopt); });
    EXPECT_EQ(outcome.log, "ZLNCH0059E: Error Invalid value type of 3\n");
    EXPECT_EQ(launchertest::callsOf(machine, "closeRegistryKey").size(), 1U);
}

TEST_F(ShellRoleDesktop, ShellBeyondThousandBytesIsNotRead) {
    machine.setRegistryText(shells, L"ADMIN_SHELL", std::wstring(499, L'x'));
    run([] {
        EXPECT_EQ(zellauncher::readKioskShellValue(KioskShell::administrators), std::wstring(499, L'x'));
    });
    machine.setRegistryText(shells, L"ADMIN_SHELL", std::wstring(500, L'x'));
    const launchertest::Outcome outcome =
        run([] { EXPECT_EQ(zellauncher::readKioskShellValue(KioskShell::administrators), std::nullopt); });
    EXPECT_NE(outcome.log.find("ADMIN_SHELL: rc = 234\n"), std::string::npos);
}

TEST_F(ShellRoleDesktop, UnopenableShellsKeyIsLogged) {
    failOnce("openRegistryKey", L"KSDShells");
    const launchertest::Outcome outcome =
        run([] { EXPECT_EQ(zellauncher::readKioskShellValue(KioskShell::kiosk), std::nullopt); });
    EXPECT_EQ(outcome.log,
              "ZLNCH0132E: Error opening HKLM\\Software\\Microsoft\\Windows "
              "NT\\CurrentVersion\\WinLogon\\KSDShells key: rc = 5\n");
}

TEST_F(ShellRoleDesktop, UnopenableLogonKeyIsNoFurtherFailure) {
    for (const auto& set : {zellauncher::setShellToAdmin, zellauncher::setShellToKiosk}) {
        const std::size_t before = machine.operations().size();
        failOnce("openRegistryKey", L"WinLogon");
        EXPECT_EQ(run([&] { EXPECT_FALSE(set()); }).log, "");
        EXPECT_EQ(launchertest::traceOf(machine, {"openRegistryKey", "setRegistryText"}, before),
                  std::vector<std::string>{
                      "openRegistryKey Software\\Microsoft\\Windows NT\\CurrentVersion\\WinLogon"});
    }
}

TEST_F(ShellRoleDesktop, UnopenablePolicyKeysAreLoggedAndSkipped) {
    failOnce("openRegistryKey", L"Policies\\Explorer");
    failOnce("openRegistryKey", L"Policies\\System");
    const launchertest::Outcome outcome = run([] { EXPECT_TRUE(zellauncher::clearDesktopPolicies()); });
    EXPECT_EQ(outcome.log,
              "ZLNCH0080E: Error opening HKCU\\Software\\Microsoft\\Windows\\CurrentVersion"
              "\\Policies\\Explorer key: rc = 5\n"
              "ZLNCH0133E: Error opening HKCU\\Software\\Microsoft\\Windows\\CurrentVersion"
              "\\Policies\\System key: rc = 5\n");
}

TEST_F(ShellRoleDesktop, FirstFailedPolicyEndsTheClearing) {
    const std::vector<std::pair<std::wstring, std::string>> policies = {
        {L"NoClose", "ZLNCH0061E: Problem setting NoClose to 0\n"},
        {L"NoLogoff", "ZLNCH0062E: Problem setting NoLogoff to 0\n"},
        {L"DisableChangePassword", "ZLNCH0063E: Problem setting DisableChangePassword to 0\n"},
        {L"DisableLockworkstation", "ZLNCH0064E: Problem setting DisableTaskMgr to 0\n"},
        {L"DisableTaskMgr", "ZLNCH0065E: Problem setting DisableTaskMg to 0\n"}};
    for (std::size_t i = 0; i < policies.size(); ++i) {
        const std::size_t before = machine.operations().size();
        failOnce("setRegistryNumber", policies[i].first);
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

// What an administrator finds after a power failure in the middle of the role.
TEST_F(ShellRoleDesktop, CrashBetweenTheWritesLeavesTheAdministratorsShell) {
    std::vector<std::wstring> shellsLeft;
    for (std::uint64_t stop = 1;; ++stop) {
        machine.setRegistryText(winLogon, L"Shell", L"kiosk.exe");
        const std::size_t before = machine.operations().size();
        machine.stopDeadAt(stop);
        const simulation::ProcessEnd end = machine.run({L"C:\\Windows\\zellauncher.exe"}, [] {
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
    // The kiosk's shell until the first write, the administrators' until the second, then the kiosk's.
    const auto first = std::find(shellsLeft.begin(), shellsLeft.end(), L"explorer.exe");
    const auto restored = std::find(first, shellsLeft.end(), L"kiosk.exe");
    EXPECT_NE(first, shellsLeft.begin());
    EXPECT_GT(restored - first, 10);
    EXPECT_NE(restored, shellsLeft.end());
    EXPECT_EQ(std::find(restored, shellsLeft.end(), L"explorer.exe"), shellsLeft.end());
}

// Whether the role is due.
class ShellRoleDecision : public ShellRoleDesktop {
protected:
    launchertest::Outcome outcome;

    ShellRoleDecision() { machine.setUser(L"ann", {L"Administrators"}); }

    // True if the launcher took the role, which ends its process.
    bool isTaken() {
        bool hasReturned = false;
        outcome = run([&] {
            zellauncher::takeShellRoleIfDue();
            hasReturned = true;
        });
        EXPECT_EQ(outcome.processEnd().status, 0U);
        return !hasReturned;
    }
    void startProgram(const wchar_t* path) {
        machine.start({path}, [] {
            platform::sleepMilliseconds(60000);
            return 0;
        });
        machine.runUntilIdle(1);
    }
};

TEST_F(ShellRoleDecision, AdministratorWithoutADesktopTakesIt) {
    startProgram(L"C:\\Windows\\Explorer2.exe");
    EXPECT_TRUE(isTaken());
    EXPECT_EQ(outcome.log, "");
}

TEST_F(ShellRoleDecision, NeedsAKiosk) {
    machine.setRegistryText(winLogon, L"Shell", L"explorer.exe");
    EXPECT_FALSE(isTaken());
}

TEST_F(ShellRoleDecision, NeedsAnAdministrator) {
    machine.setUser(L"ann", {L"Users"});
    EXPECT_FALSE(isTaken());
    EXPECT_EQ(outcome.log, "");
}

TEST_F(ShellRoleDecision, DesktopInAnyCaseKeepsItAway) {
    startProgram(L"C:\\Windows\\other.exe");
    startProgram(L"C:\\Windows\\eXPLORER.EXE");
    startProgram(L"C:\\Windows\\last.exe");
    EXPECT_FALSE(isTaken());
}

TEST_F(ShellRoleDecision, UnreadableProcessListMeansNoDesktop) {
    startProgram(L"C:\\Windows\\Explorer.exe");
    machine.inject(launchertest::failing("processSnapshot", platform::errorAccessDenied));
    EXPECT_TRUE(isTaken());
}

TEST_F(ShellRoleDecision, UserNameMayHave32766Characters) {
    for (const std::size_t length : {32766U, 32767U}) {
        machine.setUser(std::wstring(length, L'u'), {L"Administrators"});
        EXPECT_EQ(isTaken(), length == 32766U);
        EXPECT_EQ(outcome.log, length == 32766U ? "" : "ZLNCH0130E: ERROR calling GetUserName\n");
    }
}

}  // namespace
