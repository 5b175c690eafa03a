#pragma once

#include <string>

namespace zellauncher {

// Hands the command of a daemon to the platform that runs, through the pipe whose name that platform
// published: the whole text as UTF-16LE with its terminating NUL in one write. Waits without limit for
// a free instance of the pipe. Then gives the lock back. Fatal: ZLNCH0142E, ZLNCH0143E, ZLNCH0144E, each
// with the system's reason.
void handOffToPlatform(const std::wstring& command);

}  // namespace zellauncher
