#pragma once

#include <string>

#include "foundation/text_stream.h"
#include "platform/process_wide.h"
#include "properties/arguments.h"

// Who is the main process: the lock file `.zel.lock` of the workspace.
namespace zellauncher {

// Paths in the workspace with backslashes, set by acquirePlatformLock.
extern PROCESS_WIDE std::wstring lockFilePath;      // .zel.lock
extern PROCESS_WIDE std::wstring endpointFilePath;  // .pipe
extern PROCESS_WIDE std::wstring mainRecordPath;    // .zel.main
// The lock file, open from openLockFile to the end of the process.
extern PROCESS_WIDE TextStream lockFileStream;

// Blocks until this launcher holds the lock of the workspace, waiting first for the platform that
// asked for a restart to go (at most 20 seconds). Then isMainProcess, lockOwnerPid and
// staleEndpointFile are final; a main process has deleted a stale `.pipe`. Fatal: ZLNCH0054E,
// ZLNCH0053E, and those of isLockOwnerAlive.
void acquirePlatformLock(const Arguments& arguments, const std::wstring& dataDirectory,
                         const std::wstring& exeName);

// Gives the lock back, so that the next launcher in line goes on. Not holding it is no failure;
// anything else is the fatal ZLNCH0070E.
void releasePlatformLock();

// Overwrites the owner record with blanks.
void invalidateLockFile();

void openLockFile();
void lockPlatformFile(const std::wstring& exeName);

}  // namespace zellauncher
