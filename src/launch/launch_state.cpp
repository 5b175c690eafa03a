#include "launch/launch_state.h"

namespace zellauncher {

PROCESS_WIDE std::wstring launchCommand;
PROCESS_WIDE bool isMainProcess = false;
PROCESS_WIDE bool initialLaunch = false;
PROCESS_WIDE bool waitForPlatform = false;
PROCESS_WIDE std::int32_t lockOwnerPid = 0;
PROCESS_WIDE bool staleEndpointFile = false;
PROCESS_WIDE std::wstring provDebugFile;
PROCESS_WIDE bool provDebugHold = false;
PROCESS_WIDE std::wstring appUserModelId;
PROCESS_WIDE bool useAppUserModelId = false;
PROCESS_WIDE bool preventPinning = false;
PROCESS_WIDE std::wstring extensionDirPattern;

}  // namespace zellauncher
