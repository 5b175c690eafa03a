#pragma once

#include <string>

#include "script.h"

namespace standin {

// Creates the semaphore that shows launchers that the platform with this pipe is alive. It exists as long
// as the process. `denied` imitates a platform with other rights: the semaphore exists, but no one may
// open it.
void createLivenessSemaphore(const std::wstring& leaf, Semaphore kind);

}  // namespace standin
