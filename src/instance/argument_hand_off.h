#pragma once

#include <string>

namespace zellauncher {

// Hands the command of a daemon to the running platform: waits without limit for a free instance of the
// pipe that its pipe file names, writes the whole text at once as UTF-16LE with a terminating NUL, and
// releases the lock. Fatal, with the system's reason: ZLNCH0142E, ZLNCH0143E, ZLNCH0144E.
void handOffToPlatform(const std::wstring& command);

}  // namespace zellauncher
