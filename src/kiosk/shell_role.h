#pragma once

#include <optional>
#include <string>

// The shell role on a kiosk machine, where the launcher is the logon shell: an administrator who logs on
// gets a desktop instead of the platform. No failure stops the role; most are debug lines.
namespace zellauncher {

// Takes the shell role (runKioskShellRole, which does not return) if this is a kiosk machine, the user
// is an administrator and no Explorer.exe is running; otherwise returns.
void takeShellRoleIfDue();

// True if the logon shell and the kiosk shell in the registry are equal apart from the case of A to Z. A
// value that cannot be read is the empty text. Debug lines: ZLNCH0057E, ZLNCH0058E, ZLNCH0131E,
// ZLNCH0134E.
bool isKioskShellActive();

// Sets the logon shell to the administrators', clears five desktop policies of the user, starts
// "Explorer.exe", waits up to five seconds for it, restores the kiosk shell and ends the process with 0.
// A crash in between leaves the administrators' shell as the logon shell.
[[noreturn]] void runKioskShellRole();

enum class KioskShell { administrators = 1, kiosk = 2 };

// Reads the name of a shell, at most 1000 bytes. Debug lines on failure: ZLNCH0132E, ZLNCH0059E for an
// unknown kind, ZLNCH0135E.
std::optional<std::wstring> readKioskShellValue(KioskShell kind);

// Make one of the two the logon shell. A name that cannot be read makes it the empty text, with ZLNCH0060E
// or ZLNCH0066E. False if it was not written; a missing right is not logged.
bool setShellToAdmin();
bool setShellToKiosk();

// Sets the user's policies NoClose, NoLogoff, DisableChangePassword, DisableLockworkstation and
// DisableTaskMgr to 0. Skips a key that cannot be opened. Stops with false at the first value that cannot
// be set. Debug lines: ZLNCH0080E, ZLNCH0133E, ZLNCH0061E to ZLNCH0065E.
bool clearDesktopPolicies();

}  // namespace zellauncher
