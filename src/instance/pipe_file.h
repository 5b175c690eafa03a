#pragma once

#include <optional>
#include <string>

#include "platform/process_wide.h"

// The pipe file `.pipe` of the workspace, in which a platform publishes the name of its pipe.
namespace zellauncher {

// Its path, with backslashes; set by acquirePlatformLock.
extern PROCESS_WIDE std::wstring endpointFilePath;

// The name of the pipe once it has been read. The file is not read again after that.
extern PROCESS_WIDE std::wstring pipeName;

// The first line of the pipe file; nothing if the file is missing, unreadable or still empty.
std::optional<std::wstring> readPipeName();

// Waits until the pipe file exists, for at most 15 seconds; false if it was not seen. If it appears, one that
// setPipeFileAside has moved is deleted.
bool waitForPipeFile();

// True if a former platform has left its pipe file, also as `.pipe.crashed`.
bool hasStalePipeFile();

// Deletes the pipe file of a former platform, trying for about a second.
void removeStalePipeFile();

// Renames the pipe file of a platform that is started again to `.pipe.crashed`, trying for about a second.
// Otherwise the wait for the new platform's would end at once. It is not deleted, because until the new
// platform has published, it shows the next start that the last one ended badly.
void setPipeFileAside();

}  // namespace zellauncher
