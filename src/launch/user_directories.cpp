#include "launch/user_directories.h"

#include "foundation/file_operations.h"
#include "foundation/file_tests.h"
#include "foundation/log_channel.h"
#include "launch/launch_state.h"

namespace zellauncher {

void ensureUserDirectory(const std::wstring& path, const char* message) {
    if (directoryExists(path)) {
        return;
    }
    initialLaunch = true;
    // An empty workspace names no directory at all; the long form of a path has no answer for it.
    if (path.empty()) {
        logFatalF(message, path);
    }
    // Another launcher that starts at the same moment may have made it between the look and the call.
    if (!createDirectories(path) && !directoryExists(path)) {
        logFatalF(message, path);
    }
}

}  // namespace zellauncher
