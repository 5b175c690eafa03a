#include "kiosk/shell_role.h"

#include <cstdint>
#include <initializer_list>
#include <string>

#include "foundation/formatter.h"
#include "foundation/log_channel.h"
#include "foundation/text.h"
#include "platform/child_processes.h"
#include "platform/process.h"
#include "platform/registry.h"

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

// A policy of the user's desktop, and what is said when it cannot be cleared.
struct Policy {
    const wchar_t* name;
    const char* failure;
};

std::int64_t numberOf(std::uint32_t code) {
    return static_cast<std::int32_t>(code);
}

void logRegistryFailure(const wchar_t* format, std::initializer_list<FormatArgument> arguments) {
    std::string line;
    wideToNarrow(line, formatText(format, arguments));
    logDebug(line);
}

// Opens the key for reading; `none` with a debug line on failure.
platform::RegistryKey openForReading(const wchar_t* path, const wchar_t* message) {
    platform::RegistryKey key = platform::RegistryKey::none;
    const std::uint32_t code = platform::openRegistryKey(platform::RegistryRoot::localMachine, path,
                                                         platform::registryQueryValue, key);
    if (code != 0) {
        logRegistryFailure(message, {std::wstring(path), numberOf(code)});
    }
    return key;
}

// The message names the logon shell for both values: its words are settled.
void readShell(platform::RegistryKey key, const wchar_t* valueName, std::uint32_t& size, std::wstring& text,
               const wchar_t* message) {
    if (key == platform::RegistryKey::none) {
        return;
    }
    const std::uint32_t code = platform::queryRegistryText(key, valueName, size, text);
    if (code != 0) {
        logRegistryFailure(message, {std::wstring(winLogonKey), std::wstring(shellValue), numberOf(code)});
    }
}

// `none`, without a line, for a user who may not change it.
platform::RegistryKey openLogonShell() {
    platform::RegistryKey key = platform::RegistryKey::none;
    platform::openRegistryKey(platform::RegistryRoot::localMachine, winLogonKey,
                              platform::registryQueryValue | platform::registrySetValue, key);
    return key;
}

bool clearPolicies(const wchar_t* path, const wchar_t* message, std::initializer_list<Policy> policies) {
    platform::RegistryKey key = platform::RegistryKey::none;
    const std::uint32_t code = platform::openRegistryKey(platform::RegistryRoot::currentUser, path,
                                                         platform::registryAllAccess, key);
    if (code != 0) {
        logRegistryFailure(message, {std::wstring(path), numberOf(code)});
        return true;  // a user without such policies needs none cleared
    }
    for (const Policy& policy : policies) {
        if (platform::setRegistryNumber(key, policy.name, 0) != 0) {
            logDebug(policy.failure);
            return false;
        }
    }
    platform::closeRegistryKey(key);
    return true;
}

}  // namespace

bool isKioskShellActive() {
    // One size serves both values, so a kiosk shell that is longer than the logon shell is not read.
    std::uint32_t size = shellBytes;
    std::wstring shell;
    platform::RegistryKey key =
        openForReading(winLogonKey, L"ZLNCH0057E: Error opening HKLM\\%S key: rc = %d");
    readShell(key, shellValue, size, shell, L"ZLNCH0058E: Error reading HKLM\\%S\\%S: rc = %d");
    platform::closeRegistryKey(key);

    std::wstring kioskShell;
    key = openForReading(kioskShellsKey, L"ZLNCH0131E: Error opening HKLM\\%S key: rc = %d");
    readShell(key, kioskShellValue, size, kioskShell, L"ZLNCH0134E: Error reading HKLM\\%S\\%S: rc = %d");
    platform::closeRegistryKey(key);
    return equalIgnoringCase(shell, kioskShell);
}

void runKioskShellRole() {
    setShellToAdmin();
    clearDesktopPolicies();
    platform::ChildProcess desktop;
    platform::createProcess(L"Explorer.exe", platform::StartInformation(), desktop);
    platform::waitForInputIdle(desktop.process, desktopWaitMilliseconds);
    setShellToKiosk();
    platform::exitProcess(0);
}

bool readKioskShellValue(KioskShell kind, std::wstring& shell) {
    const platform::RegistryKey key =
        openForReading(kioskShellsKey, L"ZLNCH0132E: Error opening HKLM\\%S key: rc = %d");
    if (key == platform::RegistryKey::none) {
        return false;
    }
    if (kind != KioskShell::administrators && kind != KioskShell::kiosk) {
        logRegistryFailure(L"ZLNCH0059E: Error Invalid value type of %d",
                           {std::int64_t{static_cast<int>(kind)}});
        platform::closeRegistryKey(key);
        return false;
    }
    const wchar_t* valueName = kind == KioskShell::administrators ? adminShellValue : kioskShellValue;
    std::uint32_t size = shellBytes;
    const std::uint32_t code = platform::queryRegistryText(key, valueName, size, shell);
    if (code != 0) {
        logRegistryFailure(L"ZLNCH0135E: Error reading HKLM\\%S\\%S: rc = %d",
                           {std::wstring(kioskShellsKey), std::wstring(valueName), numberOf(code)});
    }
    platform::closeRegistryKey(key);
    return code == 0;
}

bool setShellToAdmin() {
    const platform::RegistryKey key = openLogonShell();
    if (key == platform::RegistryKey::none) {
        return false;
    }
    std::wstring shell;
    if (!readKioskShellValue(KioskShell::administrators, shell)) {
        logDebug("ZLNCH0060E: Error getting Shell name ADMIN_SHELL");
    }
    // The key stays open: the process ends soon.
    if (platform::setRegistryText(key, shellValue, shell) != 0) {
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
    std::wstring shell;
    if (!readKioskShellValue(KioskShell::kiosk, shell)) {
        logDebug("ZLNCH0066E: Could not retrieve KSD_SHELL");
    }
    return platform::setRegistryText(key, shellValue, shell) == 0;
}

bool clearDesktopPolicies() {
    // The words of the last three lines are settled, wrong as two of them are.
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
