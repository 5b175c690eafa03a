#pragma once

#include "explain/check/finding.h"
#include "explain/check/install_reading.h"

namespace explain {

// Whether the framework's launcher finds the framework, and the framework its bundles. The command says where
// they are looked for; osgi.framework and the bundles are those of the template config.ini.
void checkFramework(const InstallReading& reading, const StartOptions& options, const World& world,
                    const Explanation& start, Findings& findings);

}  // namespace explain
