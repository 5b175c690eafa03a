#pragma once

#include <cstdint>

#include "foundation/text_stream.h"

// The runtime library's retrying lock on the start of a file, built from single attempts because
// runtimes differ here.
namespace zellauncher {

enum class LockAnswer {
    done,
    deadlock,   // the range was locked by another process during all ten attempts
    notLocked,  // the lock to release was not held
    failed,     // the file cannot be locked or unlocked at all
};

// Rewinds the file and locks its first `length` bytes, with ten attempts one second apart. Never returns
// notLocked.
LockAnswer lockFileHead(TextStream& file, std::uint32_t length);

// Rewinds the file and releases the lock. Never returns deadlock.
LockAnswer unlockFileHead(TextStream& file, std::uint32_t length);

}  // namespace zellauncher
