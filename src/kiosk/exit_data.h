#pragma once

// The file `.exitData` in the user's home path, in which a supervised platform that ends with exit
// code 0 says why: the first line is LOGOFF, SHUTDOWN or RESTART.
//
// exitDataExists and removeExitData both append `\.exitData` to one path that is never shortened again.
// Only the first call of a process finds the file; a later one looks below it. So the file stays on
// the disk, and only the first end with 0 in a launcher's life is decided by it. Platforms rely on this.
namespace zellauncher {

// Sets the path from HOMEPATH. Called once, at process start. If HOMEPATH is `\`, as for a home drive, the
// file is in the root of the current drive, or otherwise in that of HOMEDRIVE.
void settleExitDataPath();

// True if the file can be opened for reading. It stays open until the process ends.
bool exitDataExists();

// True if the first line of the file, blanks included, is the word, ignoring the case of A to Z.
bool isExitData(const wchar_t* word);

// Deletes the file if it can be opened.
void removeExitData();

}  // namespace zellauncher
