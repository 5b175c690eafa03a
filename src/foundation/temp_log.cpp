#include "foundation/temp_log.h"

#include <string>

#include "foundation/environment.h"
#include "foundation/file_operations.h"
#include "foundation/file_tests.h"
#include "foundation/log_channel.h"
#include "foundation/paths.h"

namespace zellauncher {

void removeTempLog() {
    std::wstring path;
    if (getEnvironmentVariable(L"TEMP", path) == nullptr) {
        logMessage("ZLNCH0136E: Couldn't find the TEMP system variable!", false);
    }
    path += L"\\" + logFileName();
    toBackslashes(path);
    if (fileExists(path)) {
        deleteFile(path);
    }
}

}  // namespace zellauncher
