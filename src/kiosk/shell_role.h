#pragma once

// A kiosk machine: its logon shell is the one that its registry names as the kiosk's.
namespace zellauncher {

// True when the logon shell and the kiosk shell are the same text, without regard to the case of A
// to Z. Two values that cannot be read are two empty texts, and these are the same. Failures are
// debug lines: ZLNCH0057E, ZLNCH0058E, ZLNCH0131E, ZLNCH0134E.
bool isKioskShellActive();

// Gives an administrator of a kiosk machine a desktop. Not built yet: ends with a fatal line.
[[noreturn]] void runKioskShellRole();

}  // namespace zellauncher
