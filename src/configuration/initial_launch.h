#pragma once

#include "platform/process_wide.h"

namespace zellauncher {

// True once this start has created a directory or seed file of the user, or has found a provisioning
// manifest version that is new to the user. Set by whoever does so, never cleared.
extern PROCESS_WIDE bool initialLaunch;

}  // namespace zellauncher
