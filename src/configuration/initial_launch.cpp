#include "configuration/initial_launch.h"

namespace zellauncher {

PROCESS_WIDE bool initialLaunch = false;

}  // namespace zellauncher
