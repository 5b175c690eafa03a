#include "launch/jvm_loading.h"

#include "foundation/log_channel.h"
#include "javalaunch/jvm_resolution.h"

namespace zellauncher {

void resolveJvm(LaunchContext& context) {
    const bool isResolved =
        resolveJvmRoot(context.zelInstallArray, context.effectiveArgs, context.zelHome, context.jvmRoot);
    if (isResolved) {
        loadJvmProperties(context.zelInstallArray, context.vmargOverrides, context.jvmRoot, context.zelHome);
        return;
    }
    bool saved = false;
    swapLogDebug(true, saved);
    logDebugF(L"ZLNCH0125I: No jvm.properties file was loaded. A default file should be at \"%s\"",
              L"${zel.home}/zel/deploy");
    setLogDebug(saved);
}

}  // namespace zellauncher
