#pragma once

namespace zellauncher {

// Deletes the log that an earlier failed start of this kind (setLogFileName) left in TEMP. Called once
// the real log is open. TEMP may lack a drive or be a share. A failed deletion is ignored. Without TEMP:
// ZLNCH0136E, and the file is looked for in the root of the current drive.
void removeTempLog();

}  // namespace zellauncher
