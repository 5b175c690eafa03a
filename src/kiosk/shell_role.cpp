#include "kiosk/shell_role.h"

#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <optional>
#include <string>

#include "foundation/explanation.h"
#include "foundation/formatter.h"
#include "foundation/log_channel.h"
#include "foundation/text.h"
#include "kiosk/administrators.h"
#include "platform/child_processes.h"
#include "platform/errors.h"
#include "platform/own_process.h"
#include "platform/registry.h"
#include "platform/users.h"

namespace zellauncher {

namespace {

constexpr const wchar_t* winLogonKey = L"Software\\Microsoft\\Windows NT\\CurrentVersion\\WinLogon";
constexpr const wchar_t* kioskShellsKey =
    L"Software\\Microsoft\\Windows NT\\CurrentVersion\\WinLogon\\KSDShells";
constexpr const wchar_t* shellValue = L"Shell";
constexpr const wchar_t* kioskShellValue = L"KSD_SHELL";
constexpr const wchar_t* adminShellValue = L"ADMIN_SHELL";
constexpr const wchar_t* explorerPoliciesKey =
    L"Software\\Microsoft\\Windows\\CurrentVersion\\Policies\\Explorer";
constexpr const wchar_t* systemPoliciesKey =
    L"Software\\Microsoft\\Windows\\CurrentVersion\\Policies\\System";
constexpr std::uint32_t shellBytes = 1000;
constexpr std::uint32_t desktopWaitMilliseconds = 5000;
constexpr std::size_t userNameCapacity = 32767;

struct Policy {
    const wchar_t* name;
    const char* failure;
};

std::int64_t lastErrorNumber() {
    return static_cast<std::int32_t>(platform::lastError());
}

void logRegistryFailure(const wchar_t* format, std::initializer_list<FormatArgument> arguments) {
    logDebug(wideToNarrow(formatText(format, arguments)));
}

platform::RegistryKey openForReading(const wchar_t* path, const wchar_t* message) {
    const platform::RegistryKey key =
        platform::openRegistryKey(platform::RegistryRoot::localMachine, path, platform::registryQueryValue);
    if (key == platform::RegistryKey::none) {
        logRegistryFailure(message, {std::wstring(path), lastErrorNumber()});
    }
    return key;
}

// Required oddity: the message names the logon shell for both values.
std::wstring readShell(platform::RegistryKey key, const wchar_t* valueName, std::uint32_t& size,
                       const wchar_t* message) {
    if (key == platform::RegistryKey::none) {
        return {};
    }
    const std::optional<std::wstring> text = platform::queryRegistryText(key, valueName, size);
    if (!text) {
        logRegistryFailure(message, {std::wstring(winLogonKey), std::wstring(shellValue), lastErrorNumber()});
    }
    return text.value_or(L"");
}

// Logs nothing if the user may not change it.
platform::RegistryKey openLogonShell() {
    return platform::openRegistryKey(platform::RegistryRoot::localMachine, winLogonKey,
                                     platform::registryQueryValue | platform::registrySetValue);
}

bool clearPolicies(const wchar_t* path, const wchar_t* message, std::initializer_list<Policy> policies) {
    const platform::RegistryKey key =
        platform::openRegistryKey(platform::RegistryRoot::currentUser, path, platform::registryAllAccess);
    if (key == platform::RegistryKey::none) {
        logRegistryFailure(message, {std::wstring(path), lastErrorNumber()});
        return true;  // no key, no policies to clear
    }
    for (const Policy& policy : policies) {
        if (!platform::setRegistryNumber(key, policy.name, 0)) {
            logDebug(policy.failure);
            return false;
        }
    }
    platform::closeRegistryKey(key);
    return true;
}

bool isExplorerListed(platform::Handle snapshot) {
    for (auto entry = platform::firstProcess(snapshot); entry; entry = platform::nextProcess(snapshot)) {
        if (equalIgnoringCase(entry->executableName, L"Explorer.exe")) {
            return true;
        }
    }
    return false;
}

}  // namespace

void takeShellRoleIfDue() {
    if (!isKioskShellActive()) {
        return;
    }
    const std::optional<std::wstring> userName = platform::currentUserName(userNameCapacity);
    if (!userName) {
        logDebug("ZLNCH0130E: ERROR calling GetUserName");
    }
    if (!isUserInAdminGroup(userName.value_or(L""))) {
        return;
    }
    const platform::Handle snapshot = platform::processSnapshot();
    if (snapshot == platform::Handle::none || !isExplorerListed(snapshot)) {
        runKioskShellRole();
    }
}

bool isKioskShellActive() {
    // Required oddity: one size serves both values, so a kiosk shell longer than the logon shell is not read.
    std::uint32_t size = shellBytes;
    platform::RegistryKey key =
        openForReading(winLogonKey, L"ZLNCH0057E: Error opening HKLM\\%S key: rc = %d");
    const std::wstring shell =
        readShell(key, shellValue, size, L"ZLNCH0058E: Error reading HKLM\\%S\\%S: rc = %d");
    platform::closeRegistryKey(key);

    key = openForReading(kioskShellsKey, L"ZLNCH0131E: Error opening HKLM\\%S key: rc = %d");
    const std::wstring kioskShell =
        readShell(key, kioskShellValue, size, L"ZLNCH0134E: Error reading HKLM\\%S\\%S: rc = %d");
    platform::closeRegistryKey(key);
    return equalIgnoringCase(shell, kioskShell);
}

void runKioskShellRole() {
    explainEnd(StartEnd::shellRole);
    setShellToAdmin();
    clearDesktopPolicies();
    const std::optional<platform::ChildProcess> desktop = platform::createProcess(L"Explorer.exe", {});
    platform::waitForInputIdle(desktop ? desktop->process : platform::Handle::none, desktopWaitMilliseconds);
    setShellToKiosk();
    platform::exitProcess(0);
}

std::optional<std::wstring> readKioskShellValue(KioskShell kind) {
    const platform::RegistryKey key =
        openForReading(kioskShellsKey, L"ZLNCH0132E: Error opening HKLM\\%S key: rc = %d");
    if (key == platform::RegistryKey::none) {
        return std::nullopt;
    }
    if (kind != KioskShell::administrators && kind != KioskShell::kiosk) {
        logRegistryFailure(L"ZLNCH0059E: Error Invalid value type of %d",
                           {std::int64_t{static_cast<int>(kind)}});
        platform::closeRegistryKey(key);
        return std::nullopt;
    }
    const wchar_t* valueName = kind == KioskShell::administrators ? adminShellValue : kioskShellValue;
    std::uint32_t size = shellBytes;
    std::optional<std::wstring> shell = platform::queryRegistryText(key, valueName, size);
    if (!shell) {
        logRegistryFailure(L"ZLNCH0135E: Error reading HKLM\\%S\\%S: rc = %d",
                           {std::wstring(kioskShellsKey), std::wstring(valueName), lastErrorNumber()});
    }
    platform::closeRegistryKey(key);
    return shell;
}

bool setShellToAdmin() {
    const platform::RegistryKey key = openLogonShell();
    if (key == platform::RegistryKey::none) {
        return false;
    }
    const std::optional<std::wstring> shell = readKioskShellValue(KioskShell::administrators);
    if (!shell) {
        logDebug("ZLNCH0060E: Error getting Shell name ADMIN_SHELL");
    }
    // The key stays open, because the process ends soon.
    if (!platform::setRegistryText(key, shellValue, shell.value_or(L""))) {
        logDebug("Problem calling RegSetValueEx with ADMIN_SHELL");
        return false;
    }
    return true;
}

bool setShellToKiosk() {
    const platform::RegistryKey key = openLogonShell();
    if (key == platform::RegistryKey::none) {
        return false;
    }
    const std::optional<std::wstring> shell = readKioskShellValue(KioskShell::kiosk);
    if (!shell) {
        logDebug("ZLNCH0066E: Could not retrieve KSD_SHELL");
    }
    return platform::setRegistryText(key, shellValue, shell.value_or(L""));
}

bool clearDesktopPolicies() {
    // Required oddity: two of these messages name the wrong policy.
    return clearPolicies(explorerPoliciesKey, L"ZLNCH0080E: Error opening HKCU\\%S key: rc = %d",
                         {{L"NoClose", "ZLNCH0061E: Problem setting NoClose to 0"},
                          {L"NoLogoff", "ZLNCH0062E: Problem setting NoLogoff to 0"}}) &&
           clearPolicies(
               systemPoliciesKey, L"ZLNCH0133E: Error opening HKCU\\%S key: rc = %d",
               {{L"DisableChangePassword", "ZLNCH0063E: Problem setting DisableChangePassword to 0"},
                {L"DisableLockworkstation", "ZLNCH0064E: Problem setting DisableTaskMgr to 0"},
                {L"DisableTaskMgr", "ZLNCH0065E: Problem setting DisableTaskMg to 0"}});
}

}  // namespace zellauncher
