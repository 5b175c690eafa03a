#pragma once

namespace zellauncher {

// Deletes the log that an earlier failed start of this kind (setLogFileName) left in TEMP. Called once
// the real log is open. A failed deletion is ignored. Without TEMP: ZLNCH0136E, and the file is looked
// for in the root of the current drive. If it is found by a path without a drive, the deletion is fatal
// (toLongPath, ZLNCH0140E).
void removeTempLog();

}  // namespace zellauncher
