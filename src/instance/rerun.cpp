#include "instance/rerun.h"

#include <cstdint>

#include "foundation/log_channel.h"
#include "instance/lock_owner.h"
#include "instance/pipe_file.h"
#include "instance/platform_lock.h"
#include "instance/process_record.h"

namespace zellauncher {

bool claimRerun() {
    if (!relockPlatformFile()) {
        logDebug("ZELLauncher> the lock cannot be taken; the platform is started again without it");
        return true;
    }
    // Only another launcher's platform counts. This launcher has seen the end of its own, but a daemon may
    // still have that one's semaphore open, so it would seem to be alive.
    if (isOtherOwnerAlive(static_cast<std::int32_t>(recordedProcessId))) {
        logDebug("ZELLauncher> another launcher has started a platform; it is not started again here");
        releasePlatformLock();
        return false;
    }
    setPipeFileAside();
    return true;
}

}  // namespace zellauncher
