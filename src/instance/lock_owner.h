#pragma once

#include <string>

#include "platform/process_wide.h"

// Whether the platform that the lock file names is alive: it counts as alive only when the
// semaphore that it holds, derived from its pipe's name, can be opened.
namespace zellauncher {

// Name of the platform's pipe once it has been read; the file is not looked at again after that.
extern PROCESS_WIDE std::wstring pipeName;

enum class SemaphoreUse { keepOpen, closeAtOnce };

// Reads the owner's number from the lock file into lockOwnerPid and looks for its semaphore. Fatal:
// ZLNCH0092E when the file holds something that is no number, ZLNCH0303E when the semaphore may not
// be opened. keepOpen leaves the semaphore's handle open to the end of the process.
bool isLockOwnerAlive(const std::wstring& exeName, SemaphoreUse use);

// The first line of `.pipe`. False, with `name` unchanged, when there is none.
bool readPipeName(std::wstring& name);

}  // namespace zellauncher
