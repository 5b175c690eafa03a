#include "provisioning/config_ini.h"

#include "configuration/initial_launch.h"
#include "configuration/install_files.h"
#include "foundation/file_operations.h"
#include "foundation/file_queries.h"
#include "foundation/log_channel.h"
#include "foundation/paths.h"
#include "foundation/user_files.h"

namespace zellauncher {

void seedConfigIni(const std::wstring& configDirectory, const std::wstring& baseLocation) {
    const std::wstring target = withBackslashes(configDirectory + L"\\" + configIniName);
    if (fileExists(target)) {
        return;
    }
    if (!copyFileNoReplace(baseFilePath(baseLocation, configIniName), target)) {
        logFatal("ZLNCH0009E: Unable to copy config.ini to the user directory.");
    }
    bringToDevice(target);
    initialLaunch = true;
}

}  // namespace zellauncher
