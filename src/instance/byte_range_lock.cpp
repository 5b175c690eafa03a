#include "instance/byte_range_lock.h"

#include "foundation/waiting.h"
#include "platform/errors.h"

namespace zellauncher {

namespace {

constexpr int attempts = 10;

}  // namespace

LockAnswer lockFileHead(TextStream& file, std::uint32_t length) {
    rewindTextStream(file);
    for (int attempt = 1;; ++attempt) {
        if (platform::lockStream(file.stream, length)) {
            return LockAnswer::done;
        }
        if (platform::lastError() != platform::errorLockViolation) {
            return LockAnswer::failed;
        }
        if (attempt == attempts) {
            return LockAnswer::deadlock;
        }
        sleepSeconds(1);
    }
}

LockAnswer unlockFileHead(TextStream& file, std::uint32_t length) {
    rewindTextStream(file);
    if (platform::unlockStream(file.stream, length)) {
        return LockAnswer::done;
    }
    // The runtime does not distinguish the two codes.
    const platform::ErrorCode error = platform::lastError();
    const bool isNotHeld = error == platform::errorNotLocked || error == platform::errorLockViolation;
    return isNotHeld ? LockAnswer::notLocked : LockAnswer::failed;
}

}  // namespace zellauncher
