#include "launch/user_directories.h"

#include "configuration/initial_launch.h"
#include "foundation/file_operations.h"
#include "foundation/file_queries.h"
#include "foundation/log_channel.h"

namespace zellauncher {

void ensureUserDirectory(const std::wstring& path, const char* message) {
    if (directoryExists(path)) {
        return;
    }
    initialLaunch = true;
    // toLongPath must not get an empty path.
    if (path.empty()) {
        logFatalF(message, path);
    }
    // Another launcher may have created it since the test above.
    if (!createDirectories(path) && !directoryExists(path)) {
        logFatalF(message, path);
    }
}

}  // namespace zellauncher
