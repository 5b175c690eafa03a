#pragma once

#include <string>

#include "properties/vmarg_overrides.h"

namespace zellauncher {

// Before a start of the platform: deletes the JVM's shared-class cache files after an unclean end of
// the former platform, when the configuration asks for it and the cache lies in the workspace, and
// records the start in `<dataDirectory>\logs\shutdown.log`. `purged`: files were looked for and
// nothing failed. Fatal: ZLNCH0098E, ZLNCH0118E, ZLNCH0140E for a relative control directory.
void cacheMaintenance(const std::wstring& dataDirectory, const VmargOverrides& overrides, bool staleEndpoint,
                      bool& purged);

// Appends a line to shutdown.log and keeps it from growing without end.
void recordPlatformStart(const std::wstring& dataDirectory);
void appendStartLine(const std::wstring& logsDirectory);
// Cuts the log to its last 101 lines once it has 200.
void trimShutdownLog(const std::wstring& logsDirectory);

}  // namespace zellauncher
