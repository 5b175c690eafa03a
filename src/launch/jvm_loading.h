#pragma once

#include "launch/launch_context.h"

namespace zellauncher {

// Finds the JVM root and loads its jvm.properties into the properties of the run. Settles jvmRoot.
// Fatal: ZLNCH0079E, ZLNCH0096E.
void resolveJvm(LaunchContext& context);

}  // namespace zellauncher
