#pragma once

#include <string>

// A kiosk machine: its logon shell is the one that its registry names as the kiosk's. An administrator
// who logs on there gets a desktop in place of the platform, and the next user the kiosk again.
//
// Every failure is a debug line or nothing at all: the role goes through to its end.
namespace zellauncher {

// True when the logon shell and the kiosk shell are the same text, without regard to the case of A
// to Z. Two values that cannot be read are two empty texts, and these are the same. Failures are
// debug lines: ZLNCH0057E, ZLNCH0058E, ZLNCH0131E, ZLNCH0134E.
bool isKioskShellActive();

// Sets the logon shell to the administrators', clears five policies of the user's desktop, starts
// "Explorer.exe", gives it up to five seconds, puts the kiosk's shell back, and ends the process with 0.
// A crash in between leaves the administrators' shell as the logon shell.
[[noreturn]] void runKioskShellRole();

// Which of the two shells that the registry names.
enum class KioskShell { administrators = 1, kiosk = 2 };

// Reads the name of a shell, at most 1000 bytes. False, with `shell` as it was, when that fails; debug
// lines ZLNCH0132E, ZLNCH0059E for a kind that is none, ZLNCH0135E.
bool readKioskShellValue(KioskShell kind, std::wstring& shell);

// Make one of the two the logon shell. A name that cannot be read makes it an empty text, with
// ZLNCH0060E or ZLNCH0066E. False when it was not written: a user without the right to is not told.
bool setShellToAdmin();
bool setShellToKiosk();

// Sets the user's policies NoClose, NoLogoff, DisableChangePassword, DisableLockworkstation and
// DisableTaskMgr to 0. A key that cannot be opened is passed over and counts as handled; the first value
// that cannot be set ends it with false. Debug lines ZLNCH0080E, ZLNCH0133E, ZLNCH0061E to ZLNCH0065E.
bool clearDesktopPolicies();

}  // namespace zellauncher
