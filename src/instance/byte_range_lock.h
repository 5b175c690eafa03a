#pragma once

#include <cstdint>

#include "foundation/text_stream.h"

// The runtime library's retrying lock on the head of a file, rebuilt over single attempts, since
// runtimes differ in it.
namespace zellauncher {

enum class LockAnswer {
    done,
    deadlock,   // somebody held the range during all ten attempts
    notLocked,  // a release of what was not held
    failed,     // the file cannot be locked or unlocked at all
};

// Goes to the start of the file and takes the lock on its first `length` bytes: ten attempts, one
// second apart. Never answers notLocked.
LockAnswer lockFileHead(TextStream& file, std::uint32_t length);

// Goes to the start of the file and gives the lock back. Never answers deadlock.
LockAnswer unlockFileHead(TextStream& file, std::uint32_t length);

}  // namespace zellauncher
