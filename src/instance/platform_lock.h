#pragma once

#include <string>

#include "foundation/text_stream.h"
#include "platform/process_wide.h"
#include "properties/arguments.h"

// The lock file `.zel.lock` of the workspace. It decides whether this launcher is the main process,
// which starts a platform, or a daemon, which hands its command to the running platform.
namespace zellauncher {

// Final once acquirePlatformLock returns.
extern PROCESS_WIDE bool isMainProcess;
// This main process found, and removed, the pipe file of a platform that did not end properly.
extern PROCESS_WIDE bool staleEndpointFile;

// Paths in the workspace with backslashes, set by acquirePlatformLock.
extern PROCESS_WIDE std::wstring lockFilePath;
extern PROCESS_WIDE std::wstring mainRecordPath;
// The lock file, open from openLockFile to the end of the process.
extern PROCESS_WIDE TextStream lockFileStream;

// Blocks until this launcher holds the lock of the workspace. With `-restart` it first waits up to 20
// seconds for the platform that asked for the restart to end. Sets isMainProcess, lockOwnerPid and
// staleEndpointFile; a main process deletes a stale pipe file. Fatal: ZLNCH0054E, ZLNCH0053E and
// those of isLockOwnerAlive.
void acquirePlatformLock(const Arguments& arguments, const std::wstring& dataDirectory);

// Releases the lock, so that the next waiting launcher continues. A lock that is not held is ignored;
// any other failure is the fatal ZLNCH0070E.
void releasePlatformLock();

// Takes the lock again after releasePlatformLock. Unlike acquirePlatformLock it waits for at most five
// minutes, decides no role and is never fatal. False if it did not get the lock.
bool relockPlatformFile();

// Overwrites the owner's process id with blanks. A failed write is logged, a failed flush is not.
void invalidateLockFile();

// The steps of acquirePlatformLock: creates and opens the lock file; takes the lock and decides the
// role.
void openLockFile();
void lockPlatformFile();

}  // namespace zellauncher
