#include "desktop/extension_jars.h"

#include "foundation/log_channel.h"
#include "launch/launch_state.h"

namespace zellauncher {

void scanExtensionJars() {
    logFatalF("ZELLauncher> %ls exists, and this version can not add its jars to the class path",
              extensionDirPattern);
}

}  // namespace zellauncher
