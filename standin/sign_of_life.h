#pragma once

#include <string>

#include "script.h"

namespace standin {

// Creates the semaphore by which launchers see that this platform lives. It belongs to the pipe of the
// same leaf and stays for as long as the process. A platform of other rights is imitated by `denied`:
// the semaphore is there, and nobody may open it.
void createSignOfLife(const std::wstring& leaf, Semaphore kind);

}  // namespace standin
