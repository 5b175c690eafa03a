#include "foundation/temp_log.h"

#include <optional>
#include <string>

#include "foundation/environment.h"
#include "foundation/file_operations.h"
#include "foundation/file_queries.h"
#include "foundation/log_channel.h"
#include "foundation/paths.h"

namespace zellauncher {

void removeTempLog() {
    const std::optional<std::wstring> directory = getEnvironmentVariable(L"TEMP");
    if (!directory) {
        logMessage("ZLNCH0136E: Couldn't find the TEMP system variable!");
    }
    const std::wstring path = withBackslashes(directory.value_or(L"") + L"\\" + logFileName());
    if (fileExists(path)) {
        deleteFile(path);
    }
}

}  // namespace zellauncher
