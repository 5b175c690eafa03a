#pragma once

#include <cstdint>

#include "platform/process_wide.h"

// The owner of the lock file: the platform whose process id the file holds. It is alive only if the
// semaphore that it holds, whose name follows from its pipe's name, can be opened.
namespace zellauncher {

// The process id last read from the lock file.
extern PROCESS_WIDE std::int32_t lockOwnerPid;

enum class SemaphoreUse { keepOpen, closeAtOnce };

// Reads the owner's process id from the lock file into lockOwnerPid and looks for its semaphore.
// keepOpen leaves the semaphore open until this process ends. A file of blanks or NUL bytes has no owner.
// Fatal: ZLNCH0092E if it holds anything else but a number, ZLNCH0303E if access to the semaphore is
// denied.
bool isLockOwnerAlive(SemaphoreUse use);

// For a launcher that has recorded `ownPlatform` itself and has seen its end: true if the lock file names
// another process, and that owner is alive. Reads the pipe file afresh. Logs nothing and is never fatal: an
// unreadable lock file has no other owner, and a semaphore that may not be opened belongs to a live one.
bool isOtherOwnerAlive(std::int32_t ownPlatform);

}  // namespace zellauncher
