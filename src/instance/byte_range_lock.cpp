#include "instance/byte_range_lock.h"

#include "platform/clock.h"
#include "platform/errors.h"

namespace zellauncher {

namespace {

constexpr std::uint32_t patienceMilliseconds = 9000;
constexpr std::uint32_t pauseMilliseconds = 50;

}  // namespace

LockAnswer lockFileHead(TextStream& file, std::uint32_t length) {
    rewindTextStream(file);
    const std::uint32_t begin = platform::tickCount();
    for (;;) {
        if (platform::lockStream(file.stream, length)) {
            return LockAnswer::done;
        }
        if (platform::lastError() != platform::errorLockViolation) {
            return LockAnswer::failed;
        }
        // By the clock, because a pause can take longer than it should.
        if (platform::tickCount() - begin >= patienceMilliseconds) {
            return LockAnswer::deadlock;
        }
        platform::sleepMilliseconds(pauseMilliseconds);
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
