#pragma once

#include <cstdint>

#include "foundation/text_stream.h"

// The runtime library's retrying lock on the start of a file, built from single attempts because
// runtimes differ here.
namespace zellauncher {

enum class LockAnswer {
    done,
    deadlock,   // the range was locked by another process for nine seconds
    notLocked,  // the lock to release was not held
    failed,     // the file cannot be locked or unlocked at all
};

// Rewinds the file and locks its first `length` bytes. If another process has locked them, tries again for
// nine seconds, twenty times a second. Never returns notLocked.
LockAnswer lockFileHead(TextStream& file, std::uint32_t length);

// Rewinds the file and releases the lock. Never returns deadlock.
LockAnswer unlockFileHead(TextStream& file, std::uint32_t length);

}  // namespace zellauncher
