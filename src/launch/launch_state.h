#pragma once

#include <cstdint>
#include <string>

#include "platform/process_wide.h"

// The process-wide state of launch control. It knows nothing above it; every subsystem may read it,
// and each item is changed only where its comment says.
namespace zellauncher {

// The program's version.
inline constexpr const wchar_t* versionText = L"20250218.1837";

// The command. On a main process a command line: the quoted executable, then each argument behind
// a blank, quoted where its section says so. On a daemon a list: the executable, then each argument
// behind a line feed, never quoted. Written through setCommandProgram and appendArgument.
extern PROCESS_WIDE std::wstring launchCommand;

// This launcher found no live platform at the lock and starts one. False is the daemon role.
// Written by the lock; final before the first element of the command is written.
extern PROCESS_WIDE bool isMainProcess;

// Something of the user's had to be made, or the provisioning manifest changed. Only ever set.
extern PROCESS_WIDE bool initialLaunch;

// `-zelLauncherWait` stands among the arguments. Written by the selection of the VM.
extern PROCESS_WIDE bool waitForPlatform;

// Process number last read from the lock file.
extern PROCESS_WIDE std::int32_t lockOwnerPid;

// A main process found a `.pipe` that a former platform left. Written by the lock.
extern PROCESS_WIDE bool staleEndpointFile;

// The debug marker file, and whether it exists. Written by the argument expansion.
extern PROCESS_WIDE std::wstring provDebugFile;
extern PROCESS_WIDE bool provDebugHold;

// Taskbar identity, whether it is applied to this process and the child, and whether the child is
// started with pinning prevented. Written by the application identity.
extern PROCESS_WIDE std::wstring appUserModelId;
extern PROCESS_WIDE bool useAppUserModelId;
extern PROCESS_WIDE bool preventPinning;

// Directory of the extension jars, with a trailing backslash, and `*` behind it when it exists.
// Empty until the entry sets it.
extern PROCESS_WIDE std::wstring extensionDirPattern;

}  // namespace zellauncher
