#pragma once

#include "explain/check/finding.h"
#include "explain/check/install_reading.h"

namespace explain {

// Encoding of the files that the platform reads: config.ini, platform.xml, and the .ini file beside the
// native platform launcher. `world` is a machine that shows the install.
void checkOtherEncodings(const InstallReading& reading, const StartOptions& options, const World& world,
                         Findings& findings);

}  // namespace explain
