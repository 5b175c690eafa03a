#include "instance/argument_hand_off.h"

#include "foundation/log_channel.h"

namespace zellauncher {

void handOffToPlatform(const std::wstring& /*command*/) {
    logFatal("ZELLauncher> the platform runs already, and this version can not hand arguments to it");
}

}  // namespace zellauncher
