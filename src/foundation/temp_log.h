#pragma once

namespace zellauncher {

// Deletes the log that an earlier failed start left in TEMP under the name of this kind of start
// (setLogFileName), now that a real log is open. Without TEMP: ZLNCH0136E, and the name is looked
// for in the root of the current drive. A failure to delete is ignored.
void removeTempLog();

}  // namespace zellauncher
