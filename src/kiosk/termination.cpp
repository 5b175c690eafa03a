#include "kiosk/termination.h"

#include "foundation/formatter.h"
#include "foundation/log_channel.h"

namespace zellauncher {

void HandleTermination(std::uint32_t exitCode) {
    logFatalF("ZELLauncher> the platform ended with %ls, and this version can not supervise it further",
              formatText(L"%d", {std::int64_t{static_cast<std::int32_t>(exitCode)}}));
}

}  // namespace zellauncher
