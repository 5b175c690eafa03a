#pragma once

namespace zellauncher {

// Deletes the log that an earlier failed start left in TEMP under the name of this kind of start
// (setLogFileName), now that a real log is open. A failure to delete is ignored. Without TEMP:
// ZLNCH0136E, and the name is looked for in the root of the current drive. A file that is found by a
// path without a drive cannot be deleted: that ends the process (toLongPath, ZLNCH0140E).
void removeTempLog();

}  // namespace zellauncher
