#include "provisioning/backup_and_reset.h"

#include "foundation/log_channel.h"

namespace zellauncher {

void backupConfiguration(const std::wstring& /*dataDirectory*/, const std::wstring& configDirectory) {
    logFatalF("ZELLauncher> the install has changed, and this version can not make %ls anew",
              configDirectory);
}

void resetConfiguration(const std::wstring& /*dataDirectory*/, const std::wstring& configDirectory,
                        const std::wstring& /*baseLocation*/) {
    logFatalF("ZELLauncher> a reset is due, and this version can not make %ls anew", configDirectory);
}

}  // namespace zellauncher
